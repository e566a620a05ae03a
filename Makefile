# Two commands on a fresh Debian 12 machine:
#   make run    installs what is missing, builds Kelvara and starts it
#   make test   installs what is missing, builds the test suite under the sanitizers and runs it:
#               everything under ASan/UBSan, then the libraries without Qt under ThreadSanitizer
# and, for measuring:
#   make bench  builds optimised and runs every benchmark in bench/
#   make fuzz   builds the fuzz targets with clang and runs each for FUZZ_SECONDS
# and, for installing on Debian:
#   make package  builds build/package/kelvara_<version>_<arch>.deb from the optimised build

JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 120
FUZZERS = number_reader paste xls_writer

.PHONY: all deps run test bench fuzz build package format clean

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
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

bench: build
	@scripts/run-benchmarks build/release/bench

package: build
	cpack --config build/release/CPackConfig.cmake -B build/package
	@ls build/package/*.deb

fuzz: deps
	cmake -G Ninja -S fuzz -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build/fuzz -j $(JOBS)
	for f in $(FUZZERS); do fuzz/run-fuzzer build/fuzz/fuzz_$$f fuzz/corpus/$$f $(FUZZ_SECONDS) || exit 1; done

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
