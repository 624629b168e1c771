# Flags every Tidewarden target shares, kept on one INTERFACE target so nothing leaks
# into the global CMAKE_CXX_FLAGS.
add_library(tidewarden_options INTERFACE)
target_compile_features(tidewarden_options INTERFACE cxx_std_20)
target_compile_options(tidewarden_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wnon-virtual-dtor -Wcast-align
  -Wunused -Woverloaded-virtual -Wimplicit-fallthrough)
# GCC 12 at -O3 reports overlapping memcpy inside libstdc++'s std::string code that cannot
# happen (a known false positive); keep the warning from failing Release builds.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(tidewarden_options INTERFACE -Wno-restrict)
endif()
target_compile_definitions(tidewarden_options INTERFACE _FILE_OFFSET_BITS=64 _GNU_SOURCE)

if(TIDEWARDEN_SANITIZE)
  target_compile_options(tidewarden_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  target_link_options(tidewarden_options INTERFACE -fsanitize=address,undefined)
endif()
