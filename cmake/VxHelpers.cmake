# Small helpers so that every library, test and benchmark is declared the same way.
include_guard(GLOBAL)
include(GenerateExportHeader)
include(CMakeParseArguments)

# The reviewed warning list; -Werror comes with VX_WERROR (the test command sets it).
function(vx_set_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wmissing-declarations -Woverloaded-virtual
    -Wzero-as-null-pointer-constant -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
    -Wformat=2 -Wundef -Wimplicit-fallthrough -Wdouble-promotion
    -Wsuggest-override -Wunused -Wconversion -Wsign-conversion)
  if(VX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Sanitizers apply to everything built, so that the instrumented libraries and tests agree.
if(VX_SANITIZE)
  add_compile_options(-fsanitize=${VX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VX_SANITIZE})
endif()

# Optimised build types define NDEBUG; with VX_ASSERTIONS the contracts checked by assert() stay
# in, so that a test stage catches a broken precondition rather than undefined behaviour.
if(VX_ASSERTIONS)
  foreach(config RELEASE RELWITHDEBINFO MINSIZEREL)
    string(REPLACE "-DNDEBUG" "" CMAKE_CXX_FLAGS_${config} "${CMAKE_CXX_FLAGS_${config}}")
    string(REPLACE "-DNDEBUG" "" CMAKE_C_FLAGS_${config} "${CMAKE_C_FLAGS_${config}}")
  endforeach()
endif()

# vx_add_library(<name> SOURCES ... [INCLUDE_DIR dir] [PUBLIC_DEPS ...] [PRIVATE_DEPS ...])
# A shared library with hidden symbols, a generated <name>_export.h with the macro
# <NAME>_EXPORT, a versioned SONAME, C++17 required of its users, and an install rule for its
# exported headers.
function(vx_add_library name)
  cmake_parse_arguments(ARG "" "INCLUDE_DIR" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  if(NOT ARG_INCLUDE_DIR)
    set(ARG_INCLUDE_DIR "${CMAKE_CURRENT_SOURCE_DIR}/include")
  endif()
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(VxCameraUtils::${name} ALIAS ${name})
  vx_configure_library(${name} "${ARG_INCLUDE_DIR}")
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  # The exported headers are C++17: users get the requirement with the target.
  target_compile_features(${name} PUBLIC cxx_std_17)
  set_property(GLOBAL APPEND PROPERTY VX_PKGCONFIG_LIBS ${name})
  install(TARGETS ${name} EXPORT VxCameraUtilsTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    INCLUDES DESTINATION ${VX_INSTALL_INCLUDEDIR})
  install(DIRECTORY "${ARG_INCLUDE_DIR}/" DESTINATION ${VX_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/export/${name}_export.h"
    DESTINATION ${VX_INSTALL_INCLUDEDIR})
endfunction()

# Visibility, version, export header and include folders of a library target.
function(vx_configure_library name include_dir)
  string(TOUPPER ${name} upper)
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    INSTALL_RPATH "$ORIGIN"
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  generate_export_header(${name} BASE_NAME ${upper}
    EXPORT_FILE_NAME "${CMAKE_CURRENT_BINARY_DIR}/export/${name}_export.h")
  target_include_directories(${name} PUBLIC
    "$<BUILD_INTERFACE:${include_dir}>"
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/export>"
    "$<INSTALL_INTERFACE:${VX_INSTALL_INCLUDEDIR}>")
  vx_set_warnings(${name})
  vx_link_version_script(${name})
endfunction()

# vx_add_sibling_library(<name> SOURCES ... [PUBLIC_DEPS ...] [PRIVATE_DEPS ...]): a library
# beside the system whose exported header lies in include/ with the system's and is installed
# with them (the system's rule installs that folder): hidden symbols, <name>_export.h, no
# undefined symbol (except where clang's sanitizer or fuzzer runtime is linked into the
# executable only and leaves its symbols undefined here), installed and exported.
function(vx_add_sibling_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC_DEPS;PRIVATE_DEPS" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(VxCameraUtils::${name} ALIAS ${name})
  vx_configure_library(${name} "${PROJECT_SOURCE_DIR}/include")
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC_DEPS} PRIVATE ${ARG_PRIVATE_DEPS})
  target_compile_features(${name} PUBLIC cxx_std_17)
  if(NOT VX_BUILD_FUZZERS AND NOT (VX_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    target_link_options(${name} PRIVATE "LINKER:--no-undefined")
  endif()
  set_property(GLOBAL APPEND PROPERTY VX_PKGCONFIG_LIBS ${name})
  install(TARGETS ${name} EXPORT VxCameraUtilsTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${VX_INSTALL_INCLUDEDIR})
  install(FILES "${CMAKE_CURRENT_BINARY_DIR}/export/${name}_export.h"
    DESTINATION ${VX_INSTALL_INCLUDEDIR})
endfunction()

# The version script that keeps standard-library instantiations out of a library's exports.
function(vx_link_version_script name)
  set(script "${PROJECT_SOURCE_DIR}/cmake/VxLibrary.map")
  target_link_options(${name} PRIVATE "LINKER:--version-script=${script}")
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${script}")
endfunction()

# vx_add_test(<name> SOURCES ... [LIBS ...] [LABELS ...]): a Google Test program, its tests
# known to ctest. The label "concurrency" marks the tests that a ThreadSanitizer build runs.
function(vx_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests/support")
  target_compile_definitions(${name} PRIVATE
    VX_SOURCE_DIR="${PROJECT_SOURCE_DIR}" VX_BINARY_DIR="${PROJECT_BINARY_DIR}")
  vx_set_warnings(${name})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "VX_LANG=en" LABELS "${ARG_LABELS}")
endfunction()

# vx_add_benchmark(<name> SOURCES ... [LIBS ...]): a Google Benchmark program.
function(vx_add_benchmark name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  find_package(benchmark REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} benchmark::benchmark_main)
  vx_set_warnings(${name})
endfunction()

# vx_add_fuzzer(<name> SOURCES ... [LIBS ...] [CORPUS dir] [DICT file] [RUNS n]): a libFuzzer
# program (clang), guided by an optional dictionary of the file's words.
# With a seed corpus, ctest runs it for n inputs as <name>_smoke; new inputs go to a folder of
# the build tree, never into the committed corpus.
function(vx_add_fuzzer name)
  cmake_parse_arguments(ARG "" "CORPUS;RUNS;DICT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  vx_set_warnings(${name})
  # The libraries under test carry the coverage instrumentation that guides the fuzzer.
  foreach(lib IN LISTS ARG_LIBS)
    if(TARGET ${lib})
      target_compile_options(${lib} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
  endforeach()
  if(ARG_CORPUS)
    if(NOT ARG_RUNS)
      set(ARG_RUNS 20000)
    endif()
    set(work "${CMAKE_CURRENT_BINARY_DIR}/${name}_corpus")
    file(MAKE_DIRECTORY "${work}")
    set(dict)
    if(ARG_DICT)
      set(dict "-dict=${ARG_DICT}")
    endif()
    add_test(NAME ${name}_smoke
      COMMAND ${name} -runs=${ARG_RUNS} -seed=1 -timeout=5 -rss_limit_mb=512 ${dict}
        "${work}" "${ARG_CORPUS}")
  endif()
endfunction()

# vx_add_subfolders(): adds every subfolder of the current folder that has a CMakeLists.txt, so
# that a new unit's tests, benchmark or fuzz target needs no edit of the folder above.
function(vx_add_subfolders)
  file(GLOB children LIST_DIRECTORIES true RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "*")
  foreach(child IN LISTS children)
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${child}/CMakeLists.txt")
      add_subdirectory(${child})
    endif()
  endforeach()
endfunction()
