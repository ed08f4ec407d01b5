# What the library is built with. Each is looked for on the system first (script/bootstrap puts {fmt} into .deps), else
# fetched as source of a pinned hash. All of it is header-only and ends up hidden inside the shared object.

include(FetchContent)

file(GLOB fmt_bootstrapped ${PROJECT_SOURCE_DIR}/.deps/fmt/usr/lib/*/cmake/fmt)
find_package(fmt 7.1...<8 CONFIG QUIET HINTS ${fmt_bootstrapped})
if(NOT fmt_FOUND)
  FetchContent_Declare(fmt
    URL https://github.com/fmtlib/fmt/archive/7.1.3.tar.gz
    URL_HASH SHA256=5cae7072042b3043e12d53d50ef404bbb76949dad1de368d7f993a15c8c05ecc
    SYSTEM)
  set(FMT_INSTALL OFF)
  FetchContent_MakeAvailable(fmt)
endif()

find_path(ZARN_UTILITY_XXHASH_INCLUDE_DIR xxhash.h DOC "Where xxhash.h lies")
if(NOT ZARN_UTILITY_XXHASH_INCLUDE_DIR)
  FetchContent_Declare(xxhash
    URL https://github.com/Cyan4973/xxHash/archive/v0.8.1.tar.gz
    URL_HASH SHA256=3bb6b7d6f30c591dd65aaaff1c8b7a5b94d81687998ca9400082c739a690436c)
  FetchContent_MakeAvailable(xxhash)  # a header alone: nothing is built
  set(ZARN_UTILITY_XXHASH_INCLUDE_DIR ${xxhash_SOURCE_DIR})
endif()
add_library(xxhash_header INTERFACE)
target_include_directories(xxhash_header SYSTEM INTERFACE ${ZARN_UTILITY_XXHASH_INCLUDE_DIR})
