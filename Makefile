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

.PHONY: all run test bench fuzz build package format clean

all: build

# Each command installs only what it needs (scripts/install-deps lists the sets).
build:
	@scripts/install-deps run
	cmake --preset release -DKELVARA_BENCH=OFF
	cmake --build --preset release -j $(JOBS)

run: build
	@scripts/run-kelvara build/release/app/kelvara

test:
	@scripts/install-deps test
	cmake --preset ci
	cmake --build --preset ci -j $(JOBS)
	ctest --preset ci -j $(JOBS)
	cmake --preset tsan
	cmake --build --preset tsan -j $(JOBS)
	ctest --preset tsan -j $(JOBS)

bench:
	@scripts/install-deps bench
	cmake --preset release -DKELVARA_BENCH=ON
	cmake --build --preset release -j $(JOBS)
	@scripts/run-benchmarks build/release/bench

package: build
	@scripts/install-deps package
	cpack --config build/release/CPackConfig.cmake -B build/package
	@ls build/package/*.deb

fuzz:
	@scripts/install-deps fuzz
	cmake -G Ninja -S fuzz -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build build/fuzz -j $(JOBS)
	for f in $(FUZZERS); do fuzz/run-fuzzer build/fuzz/fuzz_$$f fuzz/corpus/$$f $(FUZZ_SECONDS) || exit 1; done

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
