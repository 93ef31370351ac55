#include "natural_order.h"

#include <algorithm>
#include <cstddef>

namespace app {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int LowerCase(char c) {
    const int code = static_cast<unsigned char>(c);
    return code >= 'A' && code <= 'Z' ? code - 'A' + 'a' : code;
}

/// Takes the digits at the front of `text`, without leading zeros.
std::string_view TakeNumber(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
    text.remove_prefix(digits.size());
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

int CompareNumbers(std::string_view first, std::string_view second) {
    if (first.size() != second.size()) return first.size() < second.size() ? -1 : 1;
    return first.compare(second);
}

/// Takes one number or character from both and compares them.
int CompareStep(std::string_view& first, std::string_view& second) {
    if (IsDigit(first.front()) && IsDigit(second.front())) {
        const std::string_view firstNumber = TakeNumber(first);
        return CompareNumbers(firstNumber, TakeNumber(second));
    }
    const int difference = LowerCase(first.front()) - LowerCase(second.front());
    first.remove_prefix(1);
    second.remove_prefix(1);
    return difference;
}

} // namespace

bool NaturalLess(std::string_view first, std::string_view second) {
    std::string_view restOfFirst = first;
    std::string_view restOfSecond = second;
    while (!restOfFirst.empty() && !restOfSecond.empty())
        if (const int order = CompareStep(restOfFirst, restOfSecond); order != 0) return order < 0;
    if (restOfFirst.empty() != restOfSecond.empty()) return restOfFirst.empty();
    return first < second;
}

} // namespace app
