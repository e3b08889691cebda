// Runs a code block of the documentation in a directory of its own that holds a scan.
#ifndef SCANMESH_TESTS_DOCS_BLOCK_RUNNER_H
#define SCANMESH_TESTS_DOCS_BLOCK_RUNNER_H

#include <gtest/gtest.h>

namespace test_support {

int run_block(int (*block)());

}  // namespace test_support

#endif  // SCANMESH_TESTS_DOCS_BLOCK_RUNNER_H
