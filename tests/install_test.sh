#!/usr/bin/env bash
# A host's two ways to build against an installed Quillon: CMake's find_package and
# pkg-config, each building the README's host example and running it on the examples.
# usage: install_test.sh BUILD_DIR  (run from the source tree's top)
set -eu
build=$1
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
[[ "$(cat README.md)" == *"$(cat examples/host_example.cpp)"* ]] || { echo "FAIL: the README shows another host example"; exit 1; }
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
expected=$("$build/bin/host_example")

export PKG_CONFIG_PATH=$tmp/prefix/lib/pkgconfig
# shellcheck disable=SC2046  # the flags are words
g++ -std=c++17 examples/host_example.cpp $(pkg-config --cflags --libs quillon) -Wl,-rpath,"$tmp/prefix/lib" -o "$tmp/host-pc"
[ "$("$tmp/host-pc")" = "$expected" ] || { echo "FAIL: the host built with pkg-config"; exit 1; }

mkdir "$tmp/host"
cat >"$tmp/host/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(host CXX)
find_package(Quillon REQUIRED)
add_executable(host $PWD/examples/host_example.cpp)
target_link_libraries(host PRIVATE Quillon::quillon)
set_target_properties(host PROPERTIES BUILD_RPATH "$tmp/prefix/lib")
CMAKE
cmake -S "$tmp/host" -B "$tmp/host/build" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/host/build" >/dev/null
[ "$("$tmp/host/build/host")" = "$expected" ] || { echo "FAIL: the host built with CMake"; exit 1; }
echo "both hosts build and run"
