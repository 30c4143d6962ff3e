# Two entry points that work on a fresh Debian 12 machine:
#   make demo  - installs what is missing, builds, makes a sample source office, converts it
#                into a new office.mdb and shows the result
#   make test  - installs what is missing, builds and runs the whole test suite
#   make package - builds the Debian package build/package/qorvane_VERSION_ARCH.deb
#                (install it with: apt install ./build/package/qorvane_*.deb)
#   make fuzz  - builds the fuzz targets with clang and runs each for FUZZ_SECONDS (60)
#   make coverage - builds instrumented in $(BUILD)-coverage, runs the suite and prints line,
#                function and branch coverage of src/ per folder
#   make test-ratio - lines of test code against lines of program code
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
CONFIGURE = cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null

.PHONY: all deps deps-program configure build test coverage test-ratio demo bench fuzz package clean

all: build

# Everything the build and the tests need, the tests' independent .mdb reader included.
deps:
	@scripts/install-deps

# What building and running the program needs: no test tools.
deps-program:
	@scripts/install-deps --program-only

configure: deps
	@$(CONFIGURE)

build: configure
	@cmake --build $(BUILD) -j $(JOBS) -- --no-print-directory

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS) --timeout 300

# The whole suite on an instrumented Debug build of its own (gcc --coverage), then gcovr's
# figures per source folder; every line in $(BUILD)-coverage/coverage/index.html.
coverage: deps
	@scripts/coverage $(BUILD)-coverage $(JOBS)

test-ratio:
	@scripts/test-ratio

# The demo needs only the command line (and none of the test tools).
demo: deps-program
	@$(CONFIGURE)
	@scripts/build-progress $(BUILD) $(JOBS) "the command line" \
	  "about 10 minutes on 2 free cores the first time, seconds once built; more on a busy machine"  qorvane
	@scripts/demo $(BUILD)

# The Debian package of the command line, the window, its desktop entry and the man pages:
# those are built, in parallel, and nothing else (no tests).
package: deps-program
	@$(CONFIGURE)
	@scripts/build-progress $(BUILD) $(JOBS) "the command line, the window and the man pages for the package" \
	  "about 15 minutes on 2 free cores the first time, seconds once built; more on a busy machine" \
	  qorvane qorvane-gui qorvane_man_pages
	@echo "Packing (cpack) ..."
	@cd $(BUILD) && cpack --config CPackConfig.cmake -B package >/dev/null
	@ls $(BUILD)/package/qorvane_*.deb

bench: build
	@for b in $(BUILD)/bench/*/bench_*; do [ -x "$$b" ] && "$$b"; done

# Builds the libFuzzer targets with clang in $(BUILD)-fuzz and runs each for FUZZ_SECONDS.
FUZZ_SECONDS ?= 60
fuzz: deps
	@JOBS=$(JOBS) scripts/fuzz-run $(FUZZ_SECONDS) $(BUILD)-fuzz || [ $$? -eq 77 ]

clean:
	@rm -rf $(BUILD) $(BUILD)-fuzz $(BUILD)-coverage
