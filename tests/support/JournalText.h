// The host's journal as text, one call a line, to be compared with the calls that a test expects.
#pragma once

#include <string>
#include <vector>

namespace TestSupport {

// Lines_t: calls in order. Lists are joined with '+', so that a test writes its expectation in blocks.
using Lines_t = std::vector<std::string>;
Lines_t operator+(Lines_t left, const Lines_t& right);

// text: joins lines, each closed by a line end; gtest shows two such texts that differ as a diff.
std::string text(const Lines_t& lines);

// journalText: everything in the journal.
std::string journalText();

// libraryCalls: what the library called, without the lines ("-> ...") in which the stack asks the application.
std::string libraryCalls();

// callsOf: the lines that begin with one of the prefixes.
std::string callsOf(const Lines_t& prefixes);

} // namespace TestSupport
