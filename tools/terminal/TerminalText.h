// Texts of the terminal in UTF-8 and back: the alphabets of ISO 8859 by the type of the font, UTF-16 by its mark.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// toUtf8: a text as it came from the bus. Font types without an alphabet of ISO 8859 are read as type 0; what stands
// for nothing becomes U+FFFD.
std::string toUtf8(const std::vector<uint8_t>& text, uint8_t fontType);

// fromUtf8: none where the alphabet lacks a character, or the text is no UTF-8.
std::optional<std::vector<uint8_t>> fromUtf8(const std::string& text, uint8_t fontType);

// toUtf16: with the mark; empty where the text is no UTF-8.
std::vector<uint8_t> toUtf16(const std::string& text);

// quoted: in quotation marks, control characters as \x0A, on one line whatever the text is.
std::string quoted(const std::string& text);
