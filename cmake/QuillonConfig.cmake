include(CMakeFindDependencyMacro)
find_dependency(XercesC)
include(${CMAKE_CURRENT_LIST_DIR}/QuillonTargets.cmake)
