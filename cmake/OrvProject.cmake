# Project-wide settings and the few functions with which every folder declares its targets.

include(GNUInstallDirs)

# Where object managers keep CMPI providers, and where the tool looks for the library.
set(ORV_PROVIDER_DIR lib/cmpi CACHE STRING "Directory of the provider library, below the prefix")

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

set(ORV_SANITIZE "" CACHE STRING "Sanitizers for every target, for example address,undefined")

# Compiler settings of all our targets. Linked privately by the functions below.
add_library(orv_build_settings INTERFACE)
target_compile_features(orv_build_settings INTERFACE cxx_std_17)
target_include_directories(orv_build_settings INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(orv_build_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>
  -fPIC -fvisibility=hidden $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
if(CMAKE_UNITY_BUILD)
  # In joined files g++ takes each unnamed namespace for one of a header.
  target_compile_options(orv_build_settings INTERFACE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
if(ORV_SANITIZE)
  target_compile_options(orv_build_settings INTERFACE
    -fsanitize=${ORV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # With sanitizers g++ warns of uninitialised values in code that they add, and of operators new and delete that do not
    # match because only one is inlined; the plain presets keep both warnings.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized -Wno-mismatched-new-delete>)
  target_link_options(orv_build_settings INTERFACE -fsanitize=${ORV_SANITIZE})
endif()

# Hardening of the products by compiler and linker. Not for tests, which are compiled without optimisation, nor together
# with a sanitizer.
include(CheckCXXCompilerFlag)
add_library(orv_hardening INTERFACE)
add_library(orv_fortify INTERFACE)
if(NOT ORV_SANITIZE AND CMAKE_BUILD_TYPE MATCHES "Rel")
  check_cxx_compiler_flag(-fcf-protection ORV_HAS_CF_PROTECTION)
  target_compile_options(orv_hardening INTERFACE
    -fstack-protector-strong $<$<BOOL:${ORV_HAS_CF_PROTECTION}>:-fcf-protection>)
  target_link_options(orv_hardening INTERFACE -Wl,-z,relro -Wl,-z,now)
  target_compile_options(orv_fortify INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()

# The tests of the provider folders replace C functions such as syslog and open by name. _FORTIFY_SOURCE calls them under
# other names, so it is used only for the rest, which is where outside data arrives.
function(orv_harden target)
  if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/(tests|broker/testing)")
    return()
  endif()
  target_link_libraries(${target} PRIVATE orv_hardening)
  if(NOT CMAKE_CURRENT_SOURCE_DIR MATCHES "/(cmpi|framework|ethernet|kernelip|heartbeat|health|software|processor)$")
    target_link_libraries(${target} PRIVATE orv_fortify)
  endif()
endfunction()

find_package(Threads REQUIRED)

# orv_objects(<name> SOURCES ... [LINKS ...]): an object library orv_<name> with the alias orv::<name>.
# Object libraries keep every factory, and their objects are linked into more than one product.
function(orv_objects name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_library(orv_${name} OBJECT ${arg_SOURCES})
  add_library(orv::${name} ALIAS orv_${name})
  target_link_libraries(orv_${name} PUBLIC orv_build_settings ${arg_LINKS})
  orv_harden(orv_${name})
  set_target_properties(orv_${name} PROPERTIES CXX_EXTENSIONS OFF C_STANDARD 11 C_EXTENSIONS OFF)
endfunction()

# orv_program(<name> SOURCES ... [LINKS ...]): an executable in bin/.
function(orv_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE orv_build_settings ${arg_LINKS} Threads::Threads)
  orv_harden(${name})
  set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()

# orv_test(<name> SOURCES ... [LINKS ...] [PROPERTIES ...]): a GoogleTest program <name>_test; ctest runs each TEST in
# a process of its own. LINKS names every object library whose objects the program needs.
function(orv_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS;PROPERTIES" ${ARGN})
  orv_program(${name}_test SOURCES ${arg_SOURCES}
              LINKS ${arg_LINKS} GTest::gmock GTest::gtest GTest::gtest_main)
  target_precompile_headers(${name}_test REUSE_FROM orv_test_headers)
  gtest_discover_tests(${name}_test DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES
    PROPERTIES TIMEOUT 120 LABELS ${name} SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]"
    ${arg_PROPERTIES})
endfunction()
