# Thin wrapper around CMake and CTest. Every target first installs the
# Debian packages the build needs when any is missing (scripts/install-deps;
# silent when none is).
#   make demo   builds the library and runs the demo recording
#   make test   builds everything and runs every test
#   make bench  builds and runs the benchmarks
#   make crash-test  kills a recording host at thousands of points and checks
#                    that the repaired pair keeps every reported block
#                    (CRASH_POINTS, default 5000)
#   make windows64  cross-builds KrdFileLibApi.dll for 64-bit Windows and tests
#                   it under Wine (build-win64/bin)
#   make windows32  cross-builds KrdFileLibApi.dll for 32-bit Windows and checks
#                   it statically (build-win32/bin)
#   make test32     builds the library and its tests for 32-bit Linux,
#                   statically linked, and runs them under qemu-i386-static
#                   (build-linux32), the 4 GiB recording test among them
# The Windows targets first install the MinGW-w64 compilers, Wine and what
# builds SQLite from Debian's source package (scripts/install-windows-deps).
# BUILD_DIR and CMAKE_FLAGS select other build variants, e.g.
#   make test BUILD_DIR=build-asan CMAKE_FLAGS="-DKRD_SANITIZE=address,undefined"

BUILD_DIR   ?= build
CMAKE_FLAGS ?=
JOBS        ?= $(shell nproc 2>/dev/null || echo 2)

CRASH_POINTS ?= 5000

.PHONY: all deps configure build demo test bench crash-test clean windows-deps windows64 windows32 \
        test32-deps test32

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

crash-test: configure
	cmake --build $(BUILD_DIR) -j $(JOBS) --target CrashTests KrdCrashChild
	KRD_CRASH_POINTS=$(CRASH_POINTS) $(BUILD_DIR)/tests/Crash/CrashTests

clean:
	rm -rf $(BUILD_DIR)

windows-deps: deps
	@scripts/install-windows-deps

windows64 windows32: windows%: windows-deps
	cmake -S . -B build-win$* -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw-$(if $(filter 64,$*),x86_64,i686).cmake $(CMAKE_FLAGS)
	cmake --build build-win$* -j $(JOBS)
	ctest --test-dir build-win$* --output-on-failure

test32-deps: deps
	@scripts/install-test32-deps

test32: test32-deps
	cmake -S . -B build-linux32 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-linux-i686.cmake $(CMAKE_FLAGS)
	cmake --build build-linux32 -j $(JOBS)
	ctest --test-dir build-linux32 --output-on-failure -j $(JOBS)
