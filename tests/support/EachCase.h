// Runs cases one after the other, each in a process of its own that is forked when the program has been loaded and its
// cases are known. On a slow machine that takes a fraction of the time of starting the program anew for each.
#pragma once

#include <string>

namespace TestSupport {

// The file `cases` names a case a line: SECONDS SUITE.CASE. In the folder `results` the file "results" gets two lines a
// case as it goes: "begin NUMBER", and "end NUMBER HOW VALUE MILLISECONDS", where NUMBER counts from 1 and HOW is
// "passed", "skipped", "exited" (VALUE is the status), "killed" (VALUE is the signal) or "late". What a case wrote is
// left in the file NUMBER unless it passed. True when both could be read and written.
bool runEachCase(const std::string& cases, const std::string& results);

} // namespace TestSupport
