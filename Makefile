# Thin wrapper over CMake: the two commands of the README and a few helpers. `make` lists them.
MAKEFLAGS += --no-print-directory
JOBS ?= $(shell nproc)
BUILD ?= build
ASAN_BUILD ?= build-asan
QUILLON = $(BUILD)/bin/quillon

.PHONY: help deps build demo test test-sanitize bench bench-stream bench-python bench-peers fuzz memcheck windows windows-test clean

help:
	@echo "make demo           install what is missing, build, run the quillon tool on examples/"
	@echo "make test           install what is missing, build, run every test"
	@echo "make test-sanitize  every test again under AddressSanitizer and UndefinedBehaviorSanitizer"
	@echo "make fuzz           libFuzzer on the engine, stream, pieces, packer and image reader (FUZZ_SECONDS each)"
	@echo "make memcheck       every suite and the tool's contract under valgrind"
	@echo "make bench          the DOM operations against a bare parse; bench-stream, bench-python, bench-peers"
	@echo "make windows        the Windows DLL and tool (mingw-w64); windows-test runs every suite under wine"
	@echo "make fresh-check    a fresh Debian 12 in a folder: the README's commands as a user, then CI as root"
	@echo "make clean          remove the build folders"

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

demo: build
	$(QUILLON) --version
	$(QUILLON) --help
	$(QUILLON) languages examples/sample.tmx
	$(QUILLON) units --pair en-US de-DE examples/sample.tmx
	$(QUILLON) units --all --json examples/sample.tmx
	$(QUILLON) export --pair en de --format tsv examples/codes.tmx
	$(QUILLON) export --pair en de --format pairs --dedupe examples/codes.tmx
	$(QUILLON) size examples/sample.xml
	$(QUILLON) pack -o $(BUILD)/sample.img examples/sample.xml
	$(QUILLON) dump $(BUILD)/sample.img

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

test-sanitize: deps
	@cmake -S . -B $(ASAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DQUILLON_SANITIZE=ON >/dev/null
	@cmake --build $(ASAN_BUILD) -j $(JOBS)
	@cd $(ASAN_BUILD) && ctest --output-on-failure -j $(JOBS)

# Benchmarks: CMap's O(1) operations, then every operation against a bare parse on generated
# files of 30 k, 300 k and 900 k units (cached in $(BUILD)/bench-data).
bench: build
	$(BUILD)/bin/bench_map
	$(BUILD)/bin/quillon_bench --data $(BUILD)/bench-data $(if $(UNITS),--units $(UNITS)) --reps $(or $(REPS),1)

# The streaming reads in every text mode against a bare SAX2 scan, the DOM and translate-toolkit,
# on generated files of 30 k, 600 k and 3 M units (the last about 0.9 GB, generated once), the
# export at 1 job and up to every core; then
# read_pairs against translate-toolkit reading the same pairs.
bench-stream: build
	@QUILLON_PEERS=1 scripts/install-deps
	$(BUILD)/bin/quillon_bench --stream --data $(BUILD)/bench-data $(if $(UNITS),--units $(UNITS)) --reps $(or $(REPS),3)
	/usr/bin/python3 bench/python_bench.py --data $(BUILD)/bench-data --units 300000 --reps $(or $(REPS),3)

# Every unit read from Python, at 30 k, 300 k and 3 M units, against translate-toolkit at 300 k.
bench-python: build
	@QUILLON_PEERS=1 scripts/install-deps
	/usr/bin/python3 bench/python_bench.py --data $(BUILD)/bench-data $(if $(UNITS),--units $(UNITS)) --reps $(or $(REPS),3)

# The same 300 k-unit file read by translate-toolkit and by quillon.
bench-peers: build
	@QUILLON_PEERS=1 scripts/install-deps
	$(BUILD)/bin/quillon_bench --peers --data $(BUILD)/bench-data --reps $(or $(REPS),1)

# Every suite and the tool's contract under valgrind: no memory error, no leak.
memcheck: build
	@QUILLON_MEMCHECK=1 scripts/install-deps
	@scripts/memcheck $(BUILD)

# libFuzzer: each target runs FUZZ_SECONDS (default 180), seeded from the examples and
# tests/fuzz/seeds; new inputs go to build-fuzz/corpus-*, crashes to build-fuzz/crashes/.
FUZZ_SECONDS ?= 180
FUZZ_BUILD ?= build-fuzz
fuzz: deps
	@QUILLON_FUZZ=1 scripts/install-deps
	@CC=clang CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLON_FUZZ=ON >/dev/null
	@cmake --build $(FUZZ_BUILD) -j $(JOBS)
	@mkdir -p $(FUZZ_BUILD)/crashes
	@for t in tmx text pieces pack image; do \
	  mkdir -p $(FUZZ_BUILD)/corpus-$$t; \
	  echo "fuzz_$$t: $(FUZZ_SECONDS) s"; \
	  $(FUZZ_BUILD)/bin/fuzz_$$t -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=4096 -max_len=65536 \
	    -artifact_prefix=$(FUZZ_BUILD)/crashes/$$t- -print_final_stats=1 \
	    $(FUZZ_BUILD)/corpus-$$t tests/fuzz/seeds examples 2>$(FUZZ_BUILD)/fuzz_$$t.log \
	    || { tail -40 $(FUZZ_BUILD)/fuzz_$$t.log; exit 1; }; \
	  grep -E "stat::number_of_executed_units|stat::peak_rss_mb" $(FUZZ_BUILD)/fuzz_$$t.log; \
	done

# The 64-bit Windows DLL and tool, cross-built with mingw-w64 (Xerces-C built once per machine
# from Debian's source package), and the whole suite run under wine.
WIN_BUILD ?= build-windows
windows: deps
	@QUILLON_WINDOWS=1 scripts/install-deps
	@xerces=$$(scripts/build-xerces-mingw) && \
	  cmake -S . -B $(WIN_BUILD) -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release \
	    -DCMAKE_FIND_PACKAGE_PREFER_CONFIG=ON -DXercesC_DIR=$$xerces/cmake >/dev/null
	@cmake --build $(WIN_BUILD) -j $(JOBS)

windows-test: windows build
	@scripts/windows-test $(WIN_BUILD) $(BUILD)

# Bootstraps a minimal Debian 12 under $(BUILD), then the README's two commands as a user with
# sudo and no locale, then .ci/run as root, from a clone of this repository's HEAD.
fresh-check:
	@scripts/fresh-check $(BUILD)/fresh

clean:
	rm -rf $(BUILD) $(ASAN_BUILD) $(FUZZ_BUILD) $(WIN_BUILD)
