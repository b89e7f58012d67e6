# One static library per subsystem folder, so that a subsystem and its tests
# build without the subsystems that stand above it.
function(tolmi_add_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
endfunction()

# Media fixtures made by ffmpeg are cached here, one folder for every build
# configuration, so the sanitizer build does not encode them again.
set(TOLMI_FIXTURE_DIR "${PROJECT_SOURCE_DIR}/build/fixtures" CACHE PATH "cache of the tests' media fixtures")

# A GoogleTest executable; each test runs with the build's bin folder as
# its module folder unless the test gives another.
function(tolmi_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} tolmi_test_support GTest::gtest GTest::gtest_main)
  add_dependencies(${name} tolmi_language_files)
  target_compile_definitions(${name} PRIVATE TOLMI_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  gtest_discover_tests(${name} WORKING_DIRECTORY ${CMAKE_BINARY_DIR} DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "TOLMI_TEST_FIXTURES=${TOLMI_FIXTURE_DIR}")
endfunction()
