# Thin fronts for the usual tasks; CMakePresets.json has the configurations. JOBS=n uses n processors.

JOBS ?= 2
BUILD := build/release

.PHONY: all test demo bench install-packages configure clean

all: configure
	cmake --build $(BUILD) -j$(JOBS)

install-packages:
	cmake/install-packages.sh all

configure: install-packages
	cmake --preset release

# Everything is built and every test is run.
test: all
	ctest --preset release -j$(JOBS)

# Effects on the sample pictures; results go to demo-out/.
# It needs neither the tests nor what they are built with; where they are configured they stay.
demo:
	cmake/install-packages.sh build
	[ -e $(BUILD)/build.ninja ] || cmake --preset release -DQZIL_BUILD_TESTS=OFF -DQZIL_BUILD_BENCH=OFF
	cmake --build $(BUILD) -j$(JOBS) --target qzil_command
	tools/demo.sh $(BUILD)/tools/qzil/qzil

# Times every effect and fills the table of docs/performance.md.
bench: configure
	cmake --build $(BUILD) -j$(JOBS) --target qzil_bench
	$(BUILD)/bench/qzil_bench --benchmark_out=$(BUILD)/bench.json --benchmark_out_format=json
	python3 bench/report.py $(BUILD)/bench.json docs/performance.md

clean:
	rm -rf build demo-out
