# xxHash, used header-only (XXH_INLINE_ALL), so nothing is linked: Debian's libxxhash-dev ships
# no CMake package of its own. Gives xxHash::xxhash.
find_path(xxHash_INCLUDE_DIR xxhash.h)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(xxHash REQUIRED_VARS xxHash_INCLUDE_DIR)
if(xxHash_FOUND AND NOT TARGET xxHash::xxhash)
  add_library(xxHash::xxhash INTERFACE IMPORTED)
  set_target_properties(xxHash::xxhash PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${xxHash_INCLUDE_DIR})
endif()
