# Tarlox: `make run` starts the program, `make test` runs the whole suite.
# Both install what they need on a Debian 12 machine first.
BUILD_DIR ?= build
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?= -DCMAKE_BUILD_TYPE=RelWithDebInfo

.PHONY: run test build deps clean bench package

run: build
	$(BUILD_DIR)/bin/tarlox

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

# A .deb of the programs, the manual, icons, desktop entry and man page.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

bench: build
	bash bench/run.sh $(BUILD_DIR)

build: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja $(CMAKE_FLAGS) $(shell command -v ccache >/dev/null && echo -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
	cmake --build $(BUILD_DIR) -j$(JOBS)

deps:
	bash scripts/install-deps.sh

clean:
	rm -rf $(BUILD_DIR)
