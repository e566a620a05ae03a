# The fuzz targets as part of the test suite: built with clang as a project of their own
# (fuzz/CMakeLists.txt), and each run over its corpus and a short bounded run of fresh
# inputs by fuzz/run-fuzzer.
include(ExternalProject)
ExternalProject_Add(kelvara_fuzzers
    SOURCE_DIR ${CMAKE_SOURCE_DIR}/fuzz
    BINARY_DIR ${CMAKE_BINARY_DIR}/fuzz
    CMAKE_ARGS -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo
    INSTALL_COMMAND ""
    BUILD_ALWAYS ON)
foreach(name number_reader paste xls_writer)
    add_test(NAME fuzz_${name}
             COMMAND ${CMAKE_SOURCE_DIR}/fuzz/run-fuzzer ${CMAKE_BINARY_DIR}/fuzz/fuzz_${name}
                     ${CMAKE_SOURCE_DIR}/fuzz/corpus/${name} check)
endforeach()
