# The two commands a newcomer needs: `make demo` and `make test`.
DEBUG_DIR   := build/debug
RELEASE_DIR := build/release
BENCH_DIR   := build/bench
FUZZ_DIR    := build/fuzz
FUZZ_SECONDS ?= 60
JOBS ?= 2
PREFIX ?= /usr/local

.PHONY: all deps debug release test demo bench fuzz install deb format clean

all: debug

# Each target installs only the package lists it needs (see scripts/packages.txt).
deps:
	@scripts/install-deps

$(DEBUG_DIR)/build.ninja:
	cmake -S . -B $(DEBUG_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug -DTESS_SANITIZE=ON

$(RELEASE_DIR)/build.ninja:
	cmake -S . -B $(RELEASE_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESS_BENCH=OFF -DTESS_TESTS=OFF

$(BENCH_DIR)/build.ninja:
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DTESS_BENCH=ON -DTESS_TESTS=OFF

$(FUZZ_DIR)/build.ninja:
	CC=clang CXX=clang++ cmake -S . -B $(FUZZ_DIR) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESS_FUZZ=ON

debug:
	@scripts/install-deps run build test
	@$(MAKE) --no-print-directory $(DEBUG_DIR)/build.ninja
	cmake --build $(DEBUG_DIR) -j $(JOBS)

release:
	@scripts/install-deps run build
	@$(MAKE) --no-print-directory $(RELEASE_DIR)/build.ninja
	cmake --build $(RELEASE_DIR) -j $(JOBS)

test: debug
	ctest --test-dir $(DEBUG_DIR) --output-on-failure -j $(JOBS)

demo: release
	@scripts/run-demo $(RELEASE_DIR)/src/app/tessarolle

bench:
	@scripts/install-deps run build test bench
	@$(MAKE) --no-print-directory $(BENCH_DIR)/build.ninja
	cmake --build $(BENCH_DIR) -j $(JOBS)
	@scripts/run-bench $(BENCH_DIR)

fuzz:
	@scripts/install-deps run build
	@$(MAKE) --no-print-directory $(FUZZ_DIR)/build.ninja
	cmake --build $(FUZZ_DIR) -j $(JOBS)
	@scripts/run-fuzz $(FUZZ_DIR) $(FUZZ_SECONDS)

# The program, its man page, the demo and the systemd unit under PREFIX (and DESTDIR).
install: release
	DESTDIR=$(DESTDIR) cmake --install $(RELEASE_DIR) --prefix $(PREFIX)

# A Debian package in build/release: sudo apt install ./build/release/tessarolle_*.deb
deb: release
	cd $(RELEASE_DIR) && cpack -G DEB

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
