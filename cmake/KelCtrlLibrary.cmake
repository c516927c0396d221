# libKelCtrl.so: one shared library gathered from the object libraries of the Qt module folders.
# Each folder keeps its own target (kel_ui, kel_imagewnd, kel_app, ...) so that the build checks the
# direction of dependencies: a folder may link only the targets before it in this list.
set(KEL_QT_FOLDERS ui imagewnd tools/paint tools/geometry browser batch app)
set(KEL_QT_MODULES)
foreach(_f IN LISTS KEL_QT_FOLDERS)
  if(EXISTS ${PROJECT_SOURCE_DIR}/${_f}/CMakeLists.txt)
    add_subdirectory(${_f})
    string(REPLACE "tools/" "" _n "${_f}")
    list(APPEND KEL_QT_MODULES ${_n})
  endif()
endforeach()

if(KEL_QT_MODULES)
  add_library(KelCtrl SHARED)
  # The folders' objects and link needs go in privately; what a host needs is named once here, so that
  # the installed package does not have to describe the folder targets.
  foreach(_n IN LISTS KEL_QT_MODULES)
    target_sources(KelCtrl PRIVATE $<TARGET_OBJECTS:kel_${_n}>)
    target_link_libraries(KelCtrl PRIVATE kel_${_n})
  endforeach()
  target_link_libraries(KelCtrl PUBLIC imagefile imageprocess kel_common Qt6::Widgets Qt6::Network)
  set_target_properties(KelCtrl PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

  # Each module's tests link the whole library, as a host would.
  foreach(_f IN LISTS KEL_QT_FOLDERS)
    string(REPLACE "tools/" "" _n "${_f}")
    if(TARGET kel_${_n} AND EXISTS ${PROJECT_SOURCE_DIR}/${_f}/tests)
      # A module sets KEL_TEST_LABEL_<name> (e.g. "threads") in its CMakeLists when its tests run threads.
      kel_add_test_in(${PROJECT_SOURCE_DIR}/${_f} NAME ${_n}_tests LIBS KelCtrl QT LABEL ${KEL_TEST_LABEL_${_n}})
    endif()
  endforeach()

  if(EXISTS ${PROJECT_SOURCE_DIR}/demo/CMakeLists.txt)
    add_subdirectory(demo)
  endif()
endif()
