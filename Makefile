# Thin wrapper over CMake: the two commands of the README and a few helpers.
JOBS ?= $(shell nproc)
BUILD ?= build
ASAN_BUILD ?= build-asan
QUILLON = $(BUILD)/bin/quillon

.PHONY: deps build demo test test-sanitize bench bench-peers clean

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

# The same 300 k-unit file read by translate-toolkit and by quillon.
bench-peers: build
	@QUILLON_PEERS=1 scripts/install-deps
	$(BUILD)/bin/quillon_bench --peers --data $(BUILD)/bench-data --reps $(or $(REPS),1)

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
