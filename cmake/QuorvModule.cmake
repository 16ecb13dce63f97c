# quorv_module(<name> SOURCES <files...> [USES <modules...>])
#
# Declares one folder of src/ as a module of the library: an object library `quorv_<name>`. USES is
# the complete list of modules whose headers it may include; the include check of the tests reads
# it (through the build folder's modules.txt), so a dependency that points upwards fails there.
define_property(GLOBAL PROPERTY QUORV_MODULES BRIEF_DOCS "Names of all library modules")
define_property(GLOBAL PROPERTY QUORV_MODULE_LINES BRIEF_DOCS "One line a module: its name, then what it uses")

function(quorv_module name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
  set(target quorv_${name})
  add_library(${target} OBJECT ${arg_SOURCES})
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/include")
  target_compile_definitions(${target} PRIVATE QUORV_BUILD)
  # The library runs inside other people's processes: nothing is thrown through it, nothing needs
  # the C++ runtime, and only what the exports map names is visible.
  target_compile_options(${target} PRIVATE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
  set(shared ON)
  if(QUORV_WEBASSEMBLY)
    set(shared OFF)
  endif()
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ${shared}
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${target} PRIVATE quorv_warnings)
  set_property(GLOBAL APPEND PROPERTY QUORV_MODULES ${name})
  string(JOIN " " line ${name} ${arg_USES})
  set_property(GLOBAL APPEND PROPERTY QUORV_MODULE_LINES "${line}")
endfunction()
