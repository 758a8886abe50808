// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/formats/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <string>

namespace orvix::importer {
namespace {

constexpr std::array<double, 23> kPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                 1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t kExactIntegers = std::uint64_t{1} << 53;

/// The parts of a decimal number: digits[.digits][e[sign]digits], each where it stands.
struct Decimal {
    const char* end = nullptr;
    std::uint64_t digits = 0;  ///< as one integer; wraps past 19 digits
    std::int64_t whole = 0;    ///< how many digits stand before the point
    std::int64_t fraction = 0;
    std::int64_t exponent = 0;  ///< as written, held within +-100,000
};

const char* ScanDigits(const char* p, const char* last, std::uint64_t& digits) {
    for (; p != last && IsDigit(*p); ++p) digits = digits * 10 + static_cast<unsigned>(*p - '0');
    return p;
}

const char* ScanExponent(const char* p, const char* last, std::int64_t& exponent) {
    if (p == last || (*p != 'e' && *p != 'E')) return p;
    const char* q = p + 1;
    const bool negative = q != last && *q == '-';
    if (q != last && (*q == '-' || *q == '+')) ++q;
    if (q == last || !IsDigit(*q)) return p;
    for (; q != last && IsDigit(*q); ++q) {
        exponent = std::min<std::int64_t>(exponent * 10 + (*q - '0'), 100'000);
    }
    if (negative) exponent = -exponent;
    return q;
}

Decimal ScanDecimal(const char* p, const char* last, char decimalPoint) {
    Decimal decimal;
    const char* end = ScanDigits(p, last, decimal.digits);
    decimal.whole = end - p;
    if (end != last && *end == decimalPoint) {
        const char* fraction = end + 1;
        end = ScanDigits(fraction, last, decimal.digits);
        decimal.fraction = end - fraction;
    }
    if (decimal.whole + decimal.fraction == 0) return {};
    decimal.end = ScanExponent(end, last, decimal.exponent);
    return decimal;
}

/// An out-of-range number: infinite when its first digit that counts has a positive place.
double Overflowed(std::string_view text, const Decimal& decimal) {
    std::int64_t place = decimal.whole;
    for (const char c : text) {
        if (c == '.') continue;
        if (c != '0') break;
        --place;
    }
    return place + decimal.exponent > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

double SlowDecimal(const char* first, const Decimal& decimal, char decimalPoint) {
    std::string copy;
    std::string_view text(first, static_cast<std::size_t>(decimal.end - first));
    if (decimalPoint != '.') {
        copy = text;
        std::replace(copy.begin(), copy.end(), decimalPoint, '.');
        text = copy;
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc::result_out_of_range ? Overflowed(text, decimal) : value;
}

const char* ParseWord(const char* first, const char* last, double& value) {
    if (first == last || std::string_view("nNiI").find(*first) == std::string_view::npos) {
        return nullptr;
    }
    const auto result = std::from_chars(first, last, value);
    return result.ec == std::errc() ? result.ptr : nullptr;
}

/// The rest of "1.#QNAN", "1.#IND00" and "1.#INF".
const char* ParseHashWord(const char* first, const char* last, double& value) {
    const std::string_view rest(first, static_cast<std::size_t>(last - first));
    const bool infinite = rest.starts_with("#INF");
    value = infinite ? std::numeric_limits<double>::infinity()
                     : std::numeric_limits<double>::quiet_NaN();
    return std::find_if_not(first + 1, last,
                            [](char c) { return IsDigit(c) || (c >= 'A' && c <= 'Z'); });
}

}  // namespace

const char* ParseNumber(const char* first, const char* last, char decimalPoint, double& value) {
    const bool negative = first != last && *first == '-';
    if (first != last && (*first == '-' || *first == '+')) ++first;
    const Decimal decimal = ScanDecimal(first, last, decimalPoint);
    const char* end = decimal.end;
    if (end == nullptr) {
        end = ParseWord(first, last, value);
        if (end == nullptr) return nullptr;
    } else if (end != last && *end == '#') {
        end = ParseHashWord(end, last, value);
    } else {
        // Integers up to 2^53 and powers of ten up to 10^22 are exact doubles, so one operation
        // on them rounds once: the nearest double, as the slow way finds it.
        const std::int64_t power = decimal.exponent - decimal.fraction;
        if (decimal.whole + decimal.fraction <= 19 && decimal.digits <= kExactIntegers &&
            power >= -22 && power <= 22) {
            const auto digits = static_cast<double>(decimal.digits);
            value = power < 0 ? digits / kPowersOfTen[static_cast<std::size_t>(-power)]
                              : digits * kPowersOfTen[static_cast<std::size_t>(power)];
        } else {
            value = SlowDecimal(first, decimal, decimalPoint);
        }
    }
    if (negative) value = -value;
    return end;
}

bool IsNumber(std::string_view text, char decimalPoint) {
    double value = 0;
    const char* last = text.data() + text.size();
    return ParseNumber(text.data(), last, decimalPoint, value) == last && !text.empty();
}

}  // namespace orvix::importer
