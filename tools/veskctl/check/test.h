// What the conformance suite consists of: tests, and what came of them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::ctl::check {

class Trial;

/// What must be known of a test before it is run.
enum Trait : unsigned {
    kNoticed = 1,  ///< People may notice it: displays go dark, cameras move, pictures change.
    kLong = 2,     ///< It takes seconds; --quick leaves it out.
    kRestarts = 4, ///< The service is restarted; only with --restart.
};

/// A test of a service.
struct Test {
    const char* name;    ///< Its group, a dot and its own name: "framing.short-payload".
    const char* summary; ///< What is done and expected, in one line.
    const char* reason;  ///< Why a service must pass, in one sentence.
    void (*run)(Trial&);
    unsigned traits = 0;

    /// "framing"
    std::string_view Group() const
    {
        const std::string_view whole = name;
        return whole.substr(0, whole.find('.'));
    }
};

/// What was not as expected in a case of a test, and what shows it.
struct Finding {
    std::string subject;               ///< Which case: "SET_VO_PARAM"; empty if the test has only one.
    std::string expected;              ///< "a refusal"
    std::string got;                   ///< "OK"
    std::vector<std::string> messages; ///< Those of the case, each on a line.
    std::vector<std::string> script;   ///< Lines for "veskctl run" that repeat it; empty if it takes more.
    bool isWarning = false;
    std::optional<uint32_t> refusal{}; ///< The code of a request that should have succeeded.
};

enum class Verdict { kOk, kWarning, kFailed, kSkipped };

/// What came of a test.
struct TestResult {
    const Test* test;
    Verdict verdict = Verdict::kOk;
    std::string skipReason{}; ///< Why there was nothing to test, or the first of the cases that were skipped.
    std::vector<Finding> findings{};
    size_t cases = 0;   ///< That came to an end.
    size_t skipped = 0; ///< Cases that the device has no use for.
    double seconds = 0;
    bool isInterrupted = false; ///< By the user, before it came to an end.
};

// The tests of each group, in the order in which they are run.
std::span<const Test> FramingTests();
std::span<const Test> ValueTests();
std::span<const Test> LifeTests();
std::span<const Test> OwnershipTests();
std::span<const Test> ClientTests();
std::span<const Test> NotificationTests();
std::span<const Test> LoadTests();
std::span<const Test> RestartTests();

} // namespace vesk::ctl::check
