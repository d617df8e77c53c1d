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
    std::vector<TestResult> results{};  ///< In the order of the run.
    std::vector<std::string> left{};    ///< What was not put back; see Lasting::Left.
    std::string service{};              ///< "VIDEO/VCTL"
    bool isInterrupted = false;         ///< By the user, in the last of the tests.
    std::vector<std::string> putBack{}; ///< If so: the requests that have put back what it had changed.

    size_t Count(Verdict verdict) const;
    /// The result of a test by its name; null if it has not been run.
    const TestResult* Find(std::string_view test) const;
};

/// What the tests of a group came to, or all.
struct Tally {
    std::string_view group;
    size_t passed = 0; ///< Without a warning.
    size_t warnings = 0;
    size_t failed = 0;
    size_t skipped = 0;
    size_t cases = 0;
    size_t notTried = 0; ///< Cases.
    double seconds = 0;

    void Add(const TestResult& result);
};

/// The groups of a run, in its order.
std::vector<Tally> GroupsOf(const Summary& summary);

/// The words with which a run was started, to repeat a part of it.
struct Invocation {
    std::string tool;    ///< "veskctl --service A/B"
    std::string options; ///< Of "check": " --yes", or nothing.
};

/// Lines for a shell that repeat the case of a finding.
std::vector<std::string> LinesToRepeat(const Invocation& invocation, const Test& test,
                                       const Finding& finding);

/// Told of each test as it ends.
class Reporter {
public:
    virtual ~Reporter() = default;
    virtual void Plan(const std::vector<const Test*>&) {}
    virtual void Ended(const TestResult&) {}
    virtual void End(const Summary& summary) = 0;
};

/// Text for people. @param showsAll  Every failed case of a test in full, not only the first.
std::unique_ptr<Reporter> PlainReporter(std::FILE* out, const Invocation& invocation, bool showsAll);

/// An object for each test, and one for the run, each on a line of standard output.
std::unique_ptr<Reporter> JsonReporter(const Invocation& invocation);

/// The Test Anything Protocol, version 14, on standard output.
std::unique_ptr<Reporter> TapReporter(const Invocation& invocation);

/// JUnit's XML, written at the end to a file; - is standard output. @throw Error if it cannot be
std::unique_ptr<Reporter> JunitReporter(const std::string& file, const Invocation& invocation);

/// Prints each test as a JSON object on a line.
void PrintTestsAsJson(const std::vector<const Test*>& tests);

/// "ok", "warning", "skipped", "failed"
const char* WordOf(Verdict verdict);

/// "12 not tried, first SET_PRESET: there is no camera"; empty if all cases were.
std::string NotTriedText(const TestResult& result);

/// "SET_PRESET: expected a refusal, got OK"
std::string LineOf(const Finding& finding);

} // namespace vesk::ctl::check
