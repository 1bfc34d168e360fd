# One-command set-up on a fresh Debian machine: `make test`, `make demo`, `make bench`.
JOBS ?= 2
BUILD ?= build
SAN_BUILD ?= build-asan
BENCH_BUILD ?= build-release

PACKAGES := cmake g++ make pkg-config libexpat1-dev libgtest-dev libgmock-dev nlohmann-json3-dev libcli11-dev
BENCH_PACKAGES := libbenchmark-dev libxml2-dev libpugixml-dev
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: all deps bench-deps build test demo bench clean format

all: build

# Installs only what is missing, so the step costs nothing once the machine is set up.
deps:
	@missing=""; for p in $(PACKAGES); do \
	  dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(SUDO) apt-get update -qq && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y -qq $$missing; \
	fi

bench-deps:
	@$(MAKE) --no-print-directory deps PACKAGES="$(PACKAGES) $(BENCH_PACKAGES)"

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Debug -DCORVALE_WERROR=ON

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)
	cmake -S . -B $(SAN_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCORVALE_WERROR=ON \
	  -DCMAKE_CXX_FLAGS="-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined" \
	  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" \
	  -DCMAKE_SHARED_LINKER_FLAGS="-fsanitize=address,undefined" -DCORVALE_INSTALL_TEST=OFF
	cmake --build $(SAN_BUILD) -j $(JOBS)
	cd $(SAN_BUILD) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)

# The demo needs only the program, not the tests.
demo: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS) --target corvale_cli
	@./scripts/demo.sh $(BUILD)/corvale

bench: bench-deps
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DCORVALE_BENCH=ON -DCORVALE_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS)
	@found=""; for b in $(BENCH_BUILD)/bench/*_bench; do \
	  [ -x "$$b" ] || continue; found=1; echo "== $$b"; $$b || exit 1; \
	done; [ -n "$$found" ] || { echo "no benchmark programs in $(BENCH_BUILD)/bench"; exit 1; }

format:
	clang-format -i $$(git ls-files '*.cpp' '*.h')

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(BENCH_BUILD)
