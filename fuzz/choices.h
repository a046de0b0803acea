// fuzz/choices.h: an input that makes choices.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>

#include "support/cases.h"

class Choices : public FuzzedDataProvider {
public:
    using FuzzedDataProvider::FuzzedDataProvider;

    std::size_t upTo(std::size_t most) { return ConsumeIntegralInRange<std::size_t>(0, most); }
    bool oneIn(std::size_t count) { return upTo(count - 1) == count - 1; }
    std::string bytes(std::size_t most) { return ConsumeRandomLengthString(most); }

    // Returns one of the texts between "|".
    std::string oneOf(const std::string &texts)
    {
        const Lines all = split(texts, "|");
        return all[upTo(all.size() - 1)];
    }
};
