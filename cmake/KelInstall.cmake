# What `cmake --install` puts under the prefix: libKelCtrl.so, the static pixel and file libraries
# and kel_common, every public header under include/kelctrl/<folder>/, the CMake package
# (KelCtrl::KelCtrl) and kelctrl.pc, both relocatable; and kelphoto with its desktop entry, icon and
# working folder (<prefix>/share/<appName>: dictionaries, style.xml).
include(CMakePackageConfigHelpers)

set(KEL_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/KelCtrl)
set(KEL_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/kelctrl)

install(TARGETS KelCtrl imagefile imageprocess kel_common EXPORT KelCtrlTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${KEL_INSTALL_INCLUDEDIR})

foreach(_dir common imageprocess imagefile ${KEL_QT_FOLDERS})
  if(EXISTS ${PROJECT_SOURCE_DIR}/${_dir})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${_dir}/ DESTINATION ${KEL_INSTALL_INCLUDEDIR}/${_dir}
            FILES_MATCHING PATTERN "*.h"
            PATTERN "tests" EXCLUDE
            PATTERN "testing" EXCLUDE)
  endif()
endforeach()

install(EXPORT KelCtrlTargets NAMESPACE KelCtrl:: DESTINATION ${KEL_INSTALL_CMAKEDIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KelCtrlConfig.cmake.in
                              ${CMAKE_CURRENT_BINARY_DIR}/KelCtrlConfig.cmake
                              INSTALL_DESTINATION ${KEL_INSTALL_CMAKEDIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KelCtrlConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KelCtrlConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/KelCtrlConfigVersion.cmake
        DESTINATION ${KEL_INSTALL_CMAKEDIR})

# pkg-config: the prefix is found from the .pc file's own folder, so the tree can move.
file(RELATIVE_PATH KEL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/kelctrl.pc.in ${CMAKE_CURRENT_BINARY_DIR}/kelctrl.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kelctrl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The install test: only in the plain build (it builds a product without the sanitizer flags).
if(KEL_BUILD_TESTS AND NOT KEL_SANITIZE AND EXISTS ${PROJECT_SOURCE_DIR}/tests/install/run.sh)
  add_test(NAME install_product
           COMMAND ${PROJECT_SOURCE_DIR}/tests/install/run.sh ${CMAKE_BINARY_DIR} "${CMAKE_CXX_COMPILER_LAUNCHER}")
  set_tests_properties(install_product PROPERTIES LABELS install TIMEOUT 300)
endif()
