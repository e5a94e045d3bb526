# Two commands set up everything on Debian 12: `make run` and `make test`.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)

.PHONY: run test deps configure build clean

run: build
	./$(BUILD_DIR)/ticksmith

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

deps:
	./scripts/install-deps.sh

configure: deps
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) -DTICKSMITH_WERROR=ON

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR)
