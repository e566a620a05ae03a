# Two commands on a fresh Debian 12 machine:
#   make run    installs what is missing, builds Kelvara and starts it
#   make test   installs what is missing, builds the test suite under the sanitizers and runs it
# and, for measuring:
#   make bench  builds optimised and runs every benchmark in bench/
# and, for installing on Debian:
#   make package  builds build/package/kelvara_<version>_<arch>.deb from the optimised build

JOBS ?= $(shell nproc)

.PHONY: all deps run test bench build package format clean

all: build

deps:
	@scripts/install-deps

build: deps
	cmake --preset release
	cmake --build --preset release -j $(JOBS)

run: build
	@scripts/run-kelvara build/release/app/kelvara

test: deps
	cmake --preset ci
	cmake --build --preset ci -j $(JOBS)
	ctest --preset ci -j $(JOBS)

bench: build
	@scripts/run-benchmarks build/release/bench

package: build
	cpack --config build/release/CPackConfig.cmake -B build/package
	@ls build/package/*.deb

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
