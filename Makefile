# Two entry points that work on a fresh Debian 12 machine:
#   make demo  - installs what is missing, builds, makes a sample source office, converts it
#                into a new office.mdb and shows the result
#   make test  - installs what is missing, builds and runs the whole test suite
#   make fuzz  - builds the fuzz targets with clang and runs each for FUZZ_SECONDS (60)
BUILD ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps configure build test demo bench fuzz clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS) -- --no-print-directory

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS) --timeout 300

# The demo needs only the command line, built quietly.
demo: configure
	@cmake --build $(BUILD) --target qorvane -j $(JOBS) >/dev/null
	@scripts/demo $(BUILD)

bench: build
	@for b in $(BUILD)/bench/*/bench_*; do [ -x "$$b" ] && "$$b"; done

# Builds the libFuzzer targets with clang in $(BUILD)-fuzz and runs each for FUZZ_SECONDS.
FUZZ_SECONDS ?= 60
fuzz: deps
	@JOBS=$(JOBS) scripts/fuzz-run $(FUZZ_SECONDS) $(BUILD)-fuzz || [ $$? -eq 77 ]

clean:
	@rm -rf $(BUILD) $(BUILD)-fuzz
