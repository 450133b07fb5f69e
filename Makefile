# Thin wrapper over CMake. The two commands of the README:
#   make demo   set up, build, and render the gallery of every effect
#   make test   set up, build, and run every test
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=

.PHONY: all deps configure build demo test bench install sanitize tsan clean

all: build

deps:
	@scripts/setup-deps

$(BUILD_DIR)/build.ninja:
	cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS)

configure: deps $(BUILD_DIR)/build.ninja

build: configure
	cmake --build $(BUILD_DIR) -j $(JOBS)

demo: build
	@scripts/demo $(BUILD_DIR)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

bench: build
	$(BUILD_DIR)/bench/ondu1_bench
	$(BUILD_DIR)/ofxrender bench talvo.effects:invert --size 3840x2160

# make install [OFX_PLUGIN_DIR=/path]: the bundle into /usr/OFX/Plugins (or
# the folder given), ofxrender into /usr/local/bin.
install: build
	$(if $(OFX_PLUGIN_DIR),cmake -S . -B $(BUILD_DIR) -DONDU1_OFX_INSTALL_DIR=$(OFX_PLUGIN_DIR),)
	cmake --install $(BUILD_DIR)

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer.
sanitize: deps
	cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DONDU1_SANITIZE=ON -DONDU1_BUILD_BENCH=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ctest --output-on-failure -j $(JOBS)

# The whole suite under ThreadSanitizer. Its reports inside libgomp, which is
# not built with it, are known false ones and suppressed (tests/tsan.supp).
tsan: deps
	cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DONDU1_TSAN=ON -DONDU1_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS="suppressions=$(CURDIR)/tests/tsan.supp halt_on_error=1 second_deadlock_stack=1" \
	  ctest --output-on-failure -j $(JOBS)

clean:
	rm -rf $(BUILD_DIR) build-asan build-tsan
