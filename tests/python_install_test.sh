#!/usr/bin/env bash
# A Python user's install: `pip install .` from a copy of the sources into a private virtual
# environment (offline: Debian's setuptools, no build isolation), then the module imported from
# there and run on the examples; then `python3 -m build` makes a wheel of the same sources.
# usage: python_install_test.sh  (run from the source tree's top)
set -eu
top=$PWD tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
mkdir "$tmp/src"
cp -r CMakeLists.txt README.md pyproject.toml setup.py MANIFEST.in afx cmake include module python resources tmx xml \
  xmlpack "$tmp/src"
/usr/bin/python3 -m venv --system-site-packages "$tmp/venv"
"$tmp/venv/bin/pip" install --quiet --no-build-isolation --no-index "$tmp/src" >"$tmp/pip.log" 2>&1 ||
  { tail -30 "$tmp/pip.log"; echo "FAIL: pip install"; exit 1; }
got=$(cd "$tmp" && env -u PYTHONPATH "$tmp/venv/bin/python" -c '
import quillon, sys
assert quillon.__file__.startswith(sys.prefix), quillon.__file__
print(next(quillon.read_pairs(sys.argv[1], "en", "de")).first)' "$top/examples/codes.tmx")
[ "$got" = "Click Save to keep your work." ] || { echo "FAIL: the installed module read: $got"; exit 1; }
(cd "$tmp/src" && /usr/bin/python3 -m build --no-isolation --wheel --outdir "$tmp/dist" >"$tmp/build.log" 2>&1) ||
  { tail -30 "$tmp/build.log"; echo "FAIL: python3 -m build"; exit 1; }
/usr/bin/python3 -m zipfile -l "$tmp"/dist/quillon-*.whl | grep -q 'libquillon.so.1' || { echo "FAIL: the wheel"; exit 1; }
echo "installed, imported and packed as a wheel"
