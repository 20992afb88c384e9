# Thin driver over CMake. `make` builds the library and the ozl command and
# runs its demo (results in build/demo/),
# `make test` builds and runs every test configuration, `make check` is the
# quick 64-bit-only round, `make fuzz` runs the fuzz driver, `make bench` runs
# the benchmarks.
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
CMAKE ?= cmake
CTEST ?= ctest
CTEST_FLAGS ?= --output-on-failure -j$(JOBS)

# Sanitizer findings fail the test that triggers them, with a stack trace.
SANITIZER_ENV = ASAN_OPTIONS=detect_leaks=1:abort_on_error=0:strict_string_checks=1 \
                UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

# `make fuzz`: the fuzz driver in the sanitizer build, for FUZZ_SECONDS from
# FUZZ_SEED (default: a seed from the clock, printed at the start).
FUZZ_SECONDS ?= 60
FUZZ_SEED ?=

.PHONY: all build test check asan fuzz m32 win32 win64 bench clean
# The configurations share nothing but the console: run them one after another.
.NOTPARALLEL:

all: build
	./build/tools/ozl demo --out build/demo

build:
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=Release
	$(CMAKE) --build build -j$(JOBS)

# Every platform: 64-bit, sanitizers, 32-bit, the 32-bit Windows DLL, the 64-bit
# Windows tests under Wine. A failing configuration does not stop the others;
# the summary names the failures and the exit status is non-zero.
CONFIGS = check asan m32 win32 win64
test:
	@failed=""; summary=""; \
	for c in $(CONFIGS); do \
	    echo "==== make $$c"; \
	    t0=$$(date +%s); \
	    if $(MAKE) --no-print-directory $$c; then r=passed; else r=FAILED; failed="$$failed $$c"; fi; \
	    summary="$$summary$$(printf '  %-6s %-7s %4ds' $$c $$r $$(( $$(date +%s) - t0 )))\n"; \
	done; \
	echo "==== make test summary"; printf "$$summary"; \
	if [ -n "$$failed" ]; then echo "make test: FAILED:$$failed"; exit 1; fi; \
	echo "make test: all configurations passed"

check: build
	cd build && $(CTEST) $(CTEST_FLAGS)

ASAN_CONFIGURE = $(CMAKE) -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOZL_SANITIZE=ON -DOZL_BUILD_TOOLS=OFF

asan:
	$(ASAN_CONFIGURE)
	$(CMAKE) --build build-asan -j$(JOBS)
	cd build-asan && $(SANITIZER_ENV) $(CTEST) $(CTEST_FLAGS)

fuzz:
	$(ASAN_CONFIGURE)
	$(CMAKE) --build build-asan -j$(JOBS) --target ozl_fuzz
	$(SANITIZER_ENV) ./build-asan/tests/ozl_fuzz --seconds=$(FUZZ_SECONDS) $(if $(FUZZ_SEED),--seed=$(FUZZ_SEED))

m32:
	$(CMAKE) -S . -B build-m32 -DCMAKE_BUILD_TYPE=Release -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32 -DOZL_BUILD_TOOLS=OFF
	$(CMAKE) --build build-m32 -j$(JOBS)
	cd build-m32 && $(CTEST) $(CTEST_FLAGS)

# ozlA6.dll and the test programs are built; only the export table is checked
# (there is no 32-bit Wine to run the programs).
win32:
	$(CMAKE) -S . -B build-win32 -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-i686.cmake -DOZL_BUILD_TOOLS=OFF -DOZL_WINE_TESTS=OFF
	$(CMAKE) --build build-win32 -j$(JOBS)
	cd build-win32 && $(CTEST) $(CTEST_FLAGS)

# The 64-bit Windows build, its test programs run under Wine with a private
# prefix in the build tree.
win64:
	$(CMAKE) -S . -B build-win64 -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-x86_64.cmake -DOZL_BUILD_TOOLS=OFF -DOZL_WINE_TESTS=ON
	$(CMAKE) --build build-win64 -j$(JOBS)
	cd build-win64 && $(CTEST) $(CTEST_FLAGS)

bench:
	$(CMAKE) -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DOZL_BUILD_BENCH=ON -DOZL_BUILD_TESTS=OFF -DOZL_BUILD_TOOLS=OFF
	$(CMAKE) --build build-bench -j$(JOBS) --target ozl_bench
	./build-bench/bench/ozl_bench

clean:
	rm -rf build build-asan build-m32 build-win32 build-win64 build-bench
