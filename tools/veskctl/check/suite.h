// The conformance suite as a whole: which tests there are, and how they are run.
#pragma once

#include "tools/veskctl/check/test.h"
#include "tools/veskctl/check/trial.h"

#include <functional>

namespace vesk::ctl::check {

/// All tests, group by group, in the order in which they are run.
std::vector<const Test*> AllTests();

/// The names of all groups and tests.
std::vector<std::string_view> TestNames();

/// The tests of these names, of groups or of tests; all if there are none. @throw Error for an unknown one,
/// with the nearest
std::vector<const Test*> TestsNamed(const std::vector<std::string>& names);

/// Finds out what the tests need to know of the device. @throw Failure if there is no service
Survey SurveyDevice(Bench& bench);

/// @throw Failure if the profile names ports that the device does not have
void RequirePorts(const Bench& bench);

/// False if no service answers any more, nor a new one within seconds: a test may have ended it.
bool IsServing(Bench& bench);

/// Why a test is left out of this run; empty if it is not.
std::string WhyLeftOut(const Bench& bench, const Test& test);

} // namespace vesk::ctl::check
