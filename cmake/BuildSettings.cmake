# What a distribution or a host's maker may set; everything else follows from these.
set(DOVETAIL_APPLICATION_GROUP "org.dovetail.group" CACHE STRING
    "Application group that the extension and the host application share: names their ports and their settings")
set(DOVETAIL_HOST_BUNDLE_IDENTIFIER "org.dovetail.Dovetail" CACHE STRING
    "Bundle identifier of the host application: the well-known bus name that it owns")
set(DOVETAIL_BUNDLE_VERSION "${PROJECT_VERSION}" CACHE STRING
    "Build version: a host of any other version counts as not running")
set(DOVETAIL_ENTITLEMENTS "${PROJECT_SOURCE_DIR}/packaging/Dovetail.entitlements.in" CACHE FILEPATH
    "Property list of the extension's entitlements, built into it")
set(DOVETAIL_SYSTEM_VERSION "11.0.0" CACHE STRING
    "Version of the platform's interfaces that a build off that platform supplies: from 11.0.0 on, symbol images")
