// tests/support/cases.h: tests written as data, in *.cases files:
//
//   # a comment
//   [What the lines of this section show]     one test
//   given NAME=VALUE | ...                     sets the host up, see apply()
//   ...                                        what the driver of the file understands
//
// {x*300} stands for 300 times x; it nests.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_host.h"

using Pairs = std::vector<std::pair<std::string, std::string>>;
using Lines = std::vector<std::string>;

Lines split(const std::string &text, const std::string &separator);

// "A=1 | B=2" with the separator "=", "return x | calls f()" with a blank; values are expanded.
Pairs pairs(const std::string &text, char separator);

std::string expanded(std::string text);

// Sets the host up as a "given" line says.
void apply(FakeHost &fake, const std::string &given);

// Registers every section of CASES_FOLDER/file as a test that make() makes of its lines.
void registerCases(const std::string &file, testing::Test *(*make)(const Lines &lines));
