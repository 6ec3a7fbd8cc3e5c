# A module that a file browser loads. It is built beside the process watcher as it finds it once installed.
#   dovetail_browser_module(NAME PREFIX prefix FOLDER folder COMPONENT id ENTRY_POINTS symbol... SOURCES file... LIBRARIES library...)
# PREFIX is the browser's own, FOLDER the one below it where the browser looks for modules: ours goes there below our own prefix.
# COMPONENT is what software centres know the browser by: the id in its own metainfo, or where it has none its desktop entry.
# ENTRY_POINTS are all that the module exports.
function(dovetail_browser_module name)
  cmake_parse_arguments(ARG "" "PREFIX;FOLDER;COMPONENT" "ENTRY_POINTS;SOURCES;LIBRARIES" ${ARGN})
  set(target dovetail-${name})
  set(place ${PROJECT_BINARY_DIR}/module-${name})
  set(exports ${place}/exports.map)
  list(JOIN ARG_ENTRY_POINTS "; " entry_points)
  file(CONFIGURE OUTPUT ${exports} CONTENT "{ global: @entry_points@; local: *; };\n" @ONLY)

  string(FIND "${CMAKE_CXX_FLAGS}" "-fsanitize" sanitizer)
  set(undefined_symbols)
  if(sanitizer EQUAL -1)  # its own symbols come with the program
    set(undefined_symbols -Wl,-z,defs)
  endif()
  add_library(${target} MODULE ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE dovetail_browsers ${ARG_LIBRARIES})
  # Nothing in it but the entry points; never unloaded, as its sources run on the main loop.
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${exports} -Wl,-z,nodelete -Wl,--as-needed ${undefined_symbols})
  set_target_properties(${target} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${place} LINK_DEPENDS ${exports})
  file(CREATE_LINK ${PROJECT_BINARY_DIR}/bin/dovetail-process-watcher ${place}/dovetail-process-watcher SYMBOLIC)
  add_dependencies(${target} dovetail-process-watcher)
  install(TARGETS ${target} LIBRARY DESTINATION ${ARG_FOLDER})

  set_property(GLOBAL APPEND PROPERTY DOVETAIL_BROWSERS ${name})
  set_property(GLOBAL APPEND PROPERTY DOVETAIL_BROWSER_FOLDERS "${name}=${ARG_PREFIX}/${ARG_FOLDER}")
  set_property(GLOBAL APPEND PROPERTY DOVETAIL_BROWSER_COMPONENTS ${ARG_COMPONENT})
endfunction()

# A browser whose interface is a pkg-config package, the first of those named; a variable of it holds the modules' folder.
#   dovetail_find_browser(NAME PACKAGES package... FOLDER_VARIABLE variable)
# Sets NAME_FOUND, and when it is true NAME_PREFIX and NAME_FOLDER as a module takes them, and the target PkgConfig::NAME. Otherwise one
# line says what is missing.
function(dovetail_find_browser name)
  cmake_parse_arguments(ARG "" "FOLDER_VARIABLE" "PACKAGES" ${ARGN})
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(${name} QUIET IMPORTED_TARGET ${ARG_PACKAGES})
  set(${name}_FOUND ${${name}_FOUND} PARENT_SCOPE)
  if(NOT ${name}_FOUND)
    message(STATUS "No module for ${name}: ${ARG_PACKAGES} not found")
    return()
  endif()
  list(GET ARG_PACKAGES 0 package)
  pkg_get_variable(prefix ${package} prefix)
  pkg_get_variable(folder ${package} ${ARG_FOLDER_VARIABLE})
  file(RELATIVE_PATH folder "${prefix}" "${folder}")
  set(${name}_PREFIX ${prefix} PARENT_SCOPE)
  set(${name}_FOLDER ${folder} PARENT_SCOPE)
endfunction()
