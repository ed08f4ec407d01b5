# The project's dependencies: only headers, each library's behind a private target zarn_NAME. No package, target or
# cache entry of the libraries themselves is involved, so a parent project may use any version of them next to this one.

# zarn_headers(NAME HEADER FILE VERSION FILE REGEX URL ADDRESS SHA256 HASH)
#
# Looks for HEADER in .deps, where script/bootstrap puts {fmt}, and on the system. It is accepted only if the FILE next
# to it has a line that matches REGEX. If it isn't found, the archive at ADDRESS is fetched, which must have that
# SHA256.
#
# ZARN_UTILITY_<NAME>_INCLUDE_DIR sets where the headers are; _URL and _SHA256 set where else to fetch them from.
function(zarn_headers name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HEADER;URL;SHA256" "VERSION")
  string(TOUPPER ZARN_UTILITY_${name} prefix)
  set(${prefix}_URL ${arg_URL} CACHE STRING "Where ${arg_HEADER} is fetched from when it isn't found")
  set(${prefix}_SHA256 ${arg_SHA256} CACHE STRING "Hash of what is fetched")
  mark_as_advanced(${prefix}_INCLUDE_DIR ${prefix}_URL ${prefix}_SHA256)

  # A toolchain file may restrict the search to its own root, but headers fit every processor: this machine's will do.
  find_path(${prefix}_INCLUDE_DIR ${arg_HEADER} DOC "Where ${arg_HEADER} lies"
    HINTS ${PROJECT_SOURCE_DIR}/.deps/${name}/usr/include PATHS /usr/local/include /usr/include
    CMAKE_FIND_ROOT_PATH_BOTH VALIDATOR zarn_has_version)
  set(directory ${${prefix}_INCLUDE_DIR})
  if(NOT directory)
    zarn_fetch_headers(directory)
  endif()

  # The target sees only these headers: the rest of /usr/include would get in a cross compiler's way.
  string(REGEX REPLACE "/.*" "" entry ${arg_HEADER})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/headers/${name})
  file(CREATE_LINK ${directory}/${entry} ${PROJECT_BINARY_DIR}/headers/${name}/${entry} SYMBOLIC)
  add_library(zarn_${name} INTERFACE)
  target_include_directories(zarn_${name} SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/headers/${name})
endfunction()

# The two functions below are parts of zarn_headers() and use its variables.

function(zarn_has_version result directory)
  list(POP_FRONT arg_VERSION file regex)
  file(STRINGS ${directory}/${file} line REGEX ${regex})
  if(NOT line)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

# Makes only one attempt: FetchContent takes a minute and a half to find out that there is no network.
function(zarn_fetch_headers result)
  set(url ${${prefix}_URL})
  set(folder ${PROJECT_BINARY_DIR}/_deps/${name}-${${prefix}_SHA256})
  if(NOT EXISTS ${folder})
    message(STATUS "Fetching ${arg_HEADER} from ${url}")
    file(DOWNLOAD ${url} ${folder}.tar.gz STATUS status TIMEOUT 60 INACTIVITY_TIMEOUT 15)
    list(POP_FRONT status is_failed problem)
    if(NOT is_failed)
      file(SHA256 ${folder}.tar.gz hash)
      if(NOT hash STREQUAL ${prefix}_SHA256)
        set(problem "its SHA256 is ${hash}")
        set(is_failed TRUE)
      endif()
    endif()
    if(is_failed)
      message(FATAL_ERROR "A usable ${arg_HEADER} is neither here nor at ${url} (${problem}).\n"
        "Run script/bootstrap, which gets it, or set ${prefix}_INCLUDE_DIR to the directory that it lies in.")
    endif()
    file(ARCHIVE_EXTRACT INPUT ${folder}.tar.gz DESTINATION ${folder}.new)
    file(RENAME ${folder}.new ${folder})
  endif()
  file(GLOB roots ${folder}/*)
  find_path(directory ${arg_HEADER} PATHS ${roots} PATH_SUFFIXES include
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH NO_CACHE REQUIRED)
  set(${result} ${directory} PARENT_SCOPE)
endfunction()

zarn_headers(fmt HEADER fmt/printf.h VERSION fmt/core.h "^#define FMT_VERSION 701[0-9][0-9]$"
  URL https://github.com/fmtlib/fmt/archive/7.1.3.tar.gz
  SHA256 5cae7072042b3043e12d53d50ef404bbb76949dad1de368d7f993a15c8c05ecc)
target_compile_definitions(zarn_fmt INTERFACE FMT_HEADER_ONLY)

zarn_headers(xxhash HEADER xxhash.h VERSION xxhash.h "^#define XXH_VERSION_MINOR +([89]|[1-9][0-9]+)$"
  URL https://github.com/Cyan4973/xxHash/archive/v0.8.1.tar.gz
  SHA256 3bb6b7d6f30c591dd65aaaff1c8b7a5b94d81687998ca9400082c739a690436c)

if(ZARN_UTILITY_BUILD_TOOL)
  zarn_headers(json HEADER nlohmann/json.hpp VERSION nlohmann/json.hpp "version 3[.](9|[1-9][0-9])[.][0-9]+$"
    URL https://github.com/nlohmann/json/archive/v3.11.2.tar.gz
    SHA256 d69f9deb6a75e2580465c6c4c5111b89c4dc2fa94e3a85fcd2ffcd9a143d9273)
endif()
