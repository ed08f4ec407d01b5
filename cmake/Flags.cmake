# Flags for this project's own code; they never reach the code of users of the library.

add_library(zarn_flags INTERFACE)
target_compile_options(zarn_flags INTERFACE
  -Wall -Wextra -Wconversion -Wshadow -Wpedantic
  $<$<BOOL:${ZARN_UTILITY_WERROR}>:-Werror>)

# Makes builds identical wherever they are made: no file contains the name of a folder. (Debug builds keep the names for
# the debugger.)
foreach(folder ${PROJECT_SOURCE_DIR} ${PROJECT_BINARY_DIR})
  target_compile_options(zarn_flags INTERFACE $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${folder}=.>)
endforeach()

# Hardening that costs nothing.
target_link_options(zarn_flags INTERFACE LINKER:-z,separate-code,-z,relro,-z,now,-z,noexecstack)
target_compile_options(zarn_flags INTERFACE -fstack-protector-strong)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  target_compile_options(zarn_flags INTERFACE -fcf-protection)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  target_compile_options(zarn_flags INTERFACE -mbranch-protection=standard)
endif()

# Android devices may have pages of 16 KiB and refuse an object that is aligned to less, and not every linker's default
# is that much. Elsewhere the default is right: on aarch64 Linux it is 64 KiB, as kernels with pages of that size need.
if(ANDROID)
  target_link_options(zarn_flags INTERFACE LINKER:-z,max-page-size=16384)
endif()

if(ZARN_UTILITY_SANITIZE)
  set(sanitize -fsanitize=${ZARN_UTILITY_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${sanitize})
  add_link_options(${sanitize})
else()
  # Needs optimization. Some distributions set it themselves, but not always to the same level.
  target_compile_options(zarn_flags INTERFACE $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
endif()
