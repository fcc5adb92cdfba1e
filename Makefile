# The two commands a person needs: `make run` and `make test`. Both install what is missing first.
SHELL := /bin/bash
JOBS ?= $(shell nproc)
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

.PHONY: deps configure build test run bench asan fuzz clean

deps:
	@$(SUDO) bash scripts/install-deps.sh

configure: deps
	@cmake --preset default >/dev/null

build: configure
	@cmake --build build -j $(JOBS)

test: build
	@cd build && ctest --output-on-failure -j $(JOBS)

run: build
	@bash scripts/run.sh

bench: build
	@bash scripts/bench.sh

asan: deps
	@cmake --preset asan >/dev/null && cmake --build build-asan -j $(JOBS) && cd build-asan && ctest --output-on-failure -j $(JOBS)

# libFuzzer over the whole map load path (clang), FUZZ_SECONDS long (default 600);
# FUZZ_TARGET=springmap fuzzes the .smf/.smt parsers alone.
fuzz: deps
	@cmake --preset fuzz >/dev/null && cmake --build build-fuzz --target fuzz_maploader fuzz_springmap -j $(JOBS)
	@bash fuzz/run.sh

clean:
	rm -rf build build-asan build-fuzz
