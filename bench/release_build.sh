# Sourced by the benchmark scripts: builds tidewarden in Release into build-release when
# needed and sets $tidewarden to the binary. Expects $root (the repository).
build="$root/build-release"
# -O2 rather than CMake's -O3: GCC 12 raises false -Wrestrict errors inside std::string at -O3.
if [ ! -f "$build/build.ninja" ]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2 -DNDEBUG" \
    -DTIDEWARDEN_TESTS=OFF >/dev/null
fi
cmake --build "$build" --target tidewarden >/dev/null
tidewarden="$build/src/tidewarden"
