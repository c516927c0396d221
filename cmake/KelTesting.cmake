# kel_add_test(NAME <exe> LIBS <libs...> [LABEL <label>] [QT])
# kel_add_test_in(<folder> NAME ...) for a folder other than the calling one.
# Builds one GoogleTest program from every *.cpp in the folder's tests/ directory and
# registers each test case with CTest. Qt programs run on the offscreen platform.
include(GoogleTest)
function(kel_add_test)
  kel_add_test_in(${CMAKE_CURRENT_SOURCE_DIR} ${ARGN})
endfunction()

function(kel_add_test_in dir)
  cmake_parse_arguments(KT "QT" "NAME;LABEL" "LIBS" ${ARGN})
  if(NOT KEL_BUILD_TESTS)
    return()
  endif()
  file(GLOB _srcs CONFIGURE_DEPENDS ${dir}/tests/*.cpp)
  if(NOT _srcs)
    return()
  endif()
  add_executable(${KT_NAME} ${_srcs})
  if(KT_QT)
    set(_main kel_qtest_main)
  else()
    set(_main GTest::gtest_main)
  endif()
  target_link_libraries(${KT_NAME} PRIVATE ${KT_LIBS} GTest::gtest GTest::gmock ${_main} kel_testing)
  # One variable only: test discovery flattens list-valued properties, and a second entry would be
  # read as a property name and swallow the ones after it. Qt programs choose the offscreen
  # platform in their shared main.
  set(_env "KEL_TEST_SOURCE_DIR=${PROJECT_SOURCE_DIR}")
  # One label a program: test discovery flattens list-valued properties. "threads" marks the
  # programs that the ThreadSanitizer pass runs; "e2e" the ones that need an X server.
  set(_labels ${KT_LABEL})
  if(NOT _labels)
    set(_labels unit)
  endif()
  gtest_discover_tests(${KT_NAME}
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "${_env}" LABELS "${_labels}" TIMEOUT 120)
endfunction()
