// How a run of the conformance suite is told.
#pragma once

#include "tools/veskctl/check/test.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace vesk::ctl::check {

/// What a run came to.
struct Summary {
    std::vector<TestResult> results{}; ///< In the order of the run.
    std::vector<std::string> left{};   ///< What was not put back; see Lasting::Left.
    std::string service{};             ///< "VIDEO/VCTL"
    bool isInterrupted = false;

    size_t Count(Verdict verdict) const;
};

/// Told of each test as it ends.
class Reporter {
public:
    virtual ~Reporter() = default;
    virtual void Plan(size_t tests) = 0;
    virtual void Begin(const Test&) {}
    virtual void Ended(const TestResult& result) = 0;
    virtual void End(const Summary& summary) = 0;
};

std::unique_ptr<Reporter> PlainReporter();

const char* WordOf(Verdict verdict);

} // namespace vesk::ctl::check
