// A pool with every type of object for the tests of the terminal, and a client's words as text.
//
//   The ids: 64 working set, 65 data mask, 66 alarm mask, 67 soft key mask, 68 container, 69 key, 6A button,
//   6B input boolean, 6C input list, 6D input number, 6E input string, 6F output string, 70 output number, 71 line,
//   72 rectangle, 73 ellipse, 74 output list, 75 polygon, 76 meter, 77 linear bar graph, 78 arched bar graph,
//   79 picture graphic, 7A number variable, 7B string variable, 7C font, 7D line, 7E fill, 7F input attributes,
//   80 object pointer, 05 macro, 82 a second data mask, 83 label list. 74 and 83 are of version 4.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TerminalPool {

using Bytes = std::vector<uint8_t>;

// sample: the records of the whole pool.
Bytes sample(int version = 4);

// smallest: a working set (1) whose active mask (2) is empty.
Bytes smallest();

// hex: "A2 6D 00", as BusText::bytesOf reads it.
std::string hex(const Bytes& bytes);

// withoutFill: the same without the FF at the end; the text says so where the answer is no whole frame.
std::string withoutFill(const Bytes& answer);

} // namespace TerminalPool
