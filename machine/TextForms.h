#pragma once

#include <string>
#include <string_view>

// What texts of machines consist of: letters of any script in either case, digits, serial numbers that stand for none, and the
// layouts of hexadecimal digits. A folded text has small letters alone.
namespace HardwareInventory
{
// Of the scripts in which Windows' names have two cases, whatever the locale of the process is.
wchar_t lower(wchar_t letter);
std::wstring folded(std::wstring_view text);

bool isDigit(wchar_t character);
bool isHexadecimal(wchar_t character); // of a folded text
bool isLetter(wchar_t character);      // of a folded text; beyond ASCII all but signs and punctuation
bool isLetterOrDigit(wchar_t character);

// Folded, without anything else.
std::wstring lettersOf(std::wstring_view text);

// A shorter text stands for none.
constexpr std::size_t kFewestLetters = 4;

// Whether the value is a placeholder, or a word that names no person and no network.
bool meansNone(std::wstring_view value);

// The digits in the place of the layout's '#'.
std::wstring laidOut(std::wstring_view layout, std::wstring_view digits);

// The 32 digits of a GUID with its first three groups in the other byte order, in which firmware has them.
std::wstring inOtherOrder(std::wstring digits);

// Whether the folded text continues at the position with the form ('#' a hexadecimal digit, '9' a digit, '*' a digit or a letter),
// and what precedes and follows is no letter or digit.
bool hasForm(std::wstring_view folded, std::size_t at, std::wstring_view form);

// The folded text with capitals where the other text, of the same length, has them.
std::wstring capitalised(std::wstring text, std::wstring_view like);
}
