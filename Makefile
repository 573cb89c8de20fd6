# Thin wrapper around CMake and CTest. Every target first installs the
# Debian packages the build needs when any is missing (scripts/install-deps;
# silent when none is).
#   make demo   builds the library and runs the demo recording
#   make test   builds everything and runs every test
#   make bench  builds and runs the benchmarks
# BUILD_DIR and CMAKE_FLAGS select other build variants, e.g.
#   make test BUILD_DIR=build-asan CMAKE_FLAGS="-DKRD_SANITIZE=address,undefined"

BUILD_DIR   ?= build
CMAKE_FLAGS ?=
JOBS        ?= $(shell nproc 2>/dev/null || echo 2)

.PHONY: all deps configure build demo test bench clean

all: build

deps:
	@scripts/install-deps

configure: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

demo: configure
	cmake --build $(BUILD_DIR) -j $(JOBS) --target KrdDemo
	$(BUILD_DIR)/demo/KrdDemo

test: build
	ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

bench: build
	@for b in $(BUILD_DIR)/bench/*Bench; do [ -x "$$b" ] && "$$b"; done

clean:
	rm -rf $(BUILD_DIR)
