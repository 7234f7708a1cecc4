# Thin wrapper over CMake: the two commands of the README and a few helpers.
JOBS ?= $(shell nproc)
BUILD ?= build
ASAN_BUILD ?= build-asan
QUILLON = $(BUILD)/bin/quillon

.PHONY: deps build demo test test-sanitize bench clean

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

bench: build
	$(BUILD)/bin/bench_map

clean:
	rm -rf $(BUILD) $(ASAN_BUILD)
