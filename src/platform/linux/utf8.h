#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace vireo {

constexpr char32_t kNoCharacter = 0xFFFFFFFF;
constexpr char32_t kLastCharacter = 0x10FFFF;

/// Takes one character off a text that is not empty; kNoCharacter, and nothing taken, when it does not
/// begin with one: cut off, longer than needed, a surrogate, or beyond the last.
char32_t TakeUtf8(std::string_view& strText);
void AppendUtf8(std::string& strText, char32_t c);
bool IsUtf8(std::string_view strText);

} // namespace vireo
