# Tarlox: `make run` starts the program, `make test` runs the whole suite.
# Both install what they need on a Debian 12 machine first.
# `make coverage` builds an instrumented copy in build-coverage, runs the suite
# there and prints the line and branch coverage of src/ (the report per file
# goes to build-coverage/coverage.txt; gcovr replaces its output file, so
# never /dev/null).
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: run test build deps clean bench coverage package

run: build
	$(BUILD_DIR)/bin/tarlox

# A test that hangs is stopped at its time limit and run once more: SANE's test
# backend can deadlock when a scan is cancelled under load (its reader thread).
test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS) --repeat until-pass:2

# A .deb of the programs, the manual, icons, desktop entry and man page.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

bench: build
	bash bench/run.sh $(BUILD_DIR)

build: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS) $(shell command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
	cmake --build $(BUILD_DIR) -j$(JOBS)

COVERAGE_DIR ?= build-coverage
coverage: deps
	cmake -S . -B $(COVERAGE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Coverage -DTARLOX_BENCH=OFF $(shell command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
	cmake --build $(COVERAGE_DIR) -j$(JOBS)
	find $(COVERAGE_DIR) -name '*.gcda' -delete
	cd $(COVERAGE_DIR) && ctest --output-on-failure -j$(JOBS)
	gcovr -j $(JOBS) --root $(CURDIR) --filter '$(CURDIR)/src/' --exclude-throw-branches --exclude-unreachable-branches --print-summary --output $(COVERAGE_DIR)/coverage.txt $(COVERAGE_DIR)

deps:
	bash scripts/install-deps.sh

clean:
	rm -rf $(BUILD_DIR) $(COVERAGE_DIR)
