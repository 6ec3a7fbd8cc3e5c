# A module that a file browser loads. It is built beside the icons and the process watcher as it finds them once installed, and goes
# into the folder that the browser's pkg-config package names.
#   dovetail_browser_module(NAME PACKAGES package... FOLDER_OF package variable SOURCES file...)
# Left out, with one line, where the browser's headers are missing.
find_package(PkgConfig REQUIRED)

function(dovetail_browser_module name)
  cmake_parse_arguments(ARG "" "" "PACKAGES;FOLDER_OF;SOURCES" ${ARGN})
  pkg_check_modules(BROWSER_${name} QUIET IMPORTED_TARGET ${ARG_PACKAGES})
  if(NOT BROWSER_${name}_FOUND)
    message(STATUS "No module for ${name}: ${ARG_PACKAGES} not found")
    return()
  endif()
  list(GET ARG_FOLDER_OF 0 package)
  list(GET ARG_FOLDER_OF 1 variable)
  pkg_get_variable(folder ${package} ${variable})
  pkg_get_variable(prefix ${package} prefix)
  set_property(GLOBAL APPEND PROPERTY DOVETAIL_BROWSER_FOLDERS "${name}=${folder}")
  # Below our own prefix as it stands below the browser's.
  file(RELATIVE_PATH folder "${prefix}" "${folder}")

  string(FIND "${CMAKE_CXX_FLAGS}" "-fsanitize" sanitizer)
  set(undefined_symbols)
  if(sanitizer EQUAL -1)  # its own symbols come with the program
    set(undefined_symbols -Wl,-z,defs)
  endif()
  set(target dovetail-${name})
  add_library(${target} MODULE ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE dovetail_browsers PkgConfig::BROWSER_${name})
  # Nothing in it but the entry points; never unloaded, as its sources run on the main loop.
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/BrowserModule.map -Wl,-z,nodelete -Wl,--as-needed ${undefined_symbols})
  set(place ${PROJECT_BINARY_DIR}/module-${name})
  set_target_properties(${target} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${place})
  file(MAKE_DIRECTORY ${place})
  file(CREATE_LINK ${PROJECT_BINARY_DIR}/bin/dovetail-process-watcher ${place}/dovetail-process-watcher SYMBOLIC)
  add_dependencies(${target} dovetail-process-watcher)
  install(TARGETS ${target} LIBRARY DESTINATION ${folder})
  set_property(GLOBAL APPEND PROPERTY DOVETAIL_BROWSERS ${name})
endfunction()
