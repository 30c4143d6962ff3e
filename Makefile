# Two entry points that work on a fresh Debian 12 machine:
#   make demo  - installs what is missing, builds, makes a sample source office, converts it
#                into a new office.mdb and shows the result
#   make test  - installs what is missing, builds and runs the whole test suite
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

fuzz: deps
	@CXX=clang++ cmake -S . -B $(BUILD)-fuzz -DQORVANE_BUILD_FUZZ=ON -DQORVANE_BUILD_TESTS=OFF \
	  -DQORVANE_BUILD_GUI=OFF -DQORVANE_BUILD_BENCH=OFF >/dev/null
	@cmake --build $(BUILD)-fuzz -j $(JOBS)

clean:
	@rm -rf $(BUILD) $(BUILD)-fuzz
