#include "updates/engine/version_comparator.h"

#include <QChar>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace ovrel {

namespace {

/// A hyphen in front, which is the only one that is not the end of the version, separates as the others do.
enum class Kind : std::uint8_t { number, period, separator, string };

struct Part {
    Kind kind = Kind::string;
    QStringView text;
};

using Parts = std::vector<Part>;

Kind kindOf(QChar character) {
    if (character == u'.') {
        return Kind::period;
    }
    if (character.isDigit()) {
        return Kind::number;
    }
    return character.isSpace() || character.isPunct() ? Kind::separator : Kind::string;
}

bool isSeparator(Kind kind) {
    return kind == Kind::period || kind == Kind::separator;
}

/// Neighbours of one kind are one part, except separators, of which each is a part of its own.
Parts split(QStringView version) {
    const qsizetype hyphen = version.indexOf(u'-', 1);
    const QStringView text = hyphen < 0 ? version : version.first(hyphen);
    Parts parts;
    qsizetype begin = 0;
    for (qsizetype end = 1; end <= text.size(); ++end) {
        const Kind kind = kindOf(text[begin]);
        if (end == text.size() || isSeparator(kind) || kindOf(text[end]) != kind) {
            parts.push_back({kind, text.sliced(begin, end - begin)});
            begin = end;
        }
    }
    return parts;
}

/// How many parts at the beginning are numbers or periods.
std::size_t leadingNumbers(const Parts& parts) {
    const auto end = std::find_if(parts.begin(), parts.end(), [](const Part& part) {
        return part.kind != Kind::number && part.kind != Kind::period;
    });
    return static_cast<std::size_t>(end - parts.begin());
}

/// Gives `shorter` as many numbers and periods in front as `longer` has.
void balance(Parts& shorter, const Parts& longer) {
    const std::size_t begin = leadingNumbers(shorter);
    const std::size_t end = std::max(begin, leadingNumbers(longer));
    Parts missing(longer.begin() + static_cast<std::ptrdiff_t>(begin),
                  longer.begin() + static_cast<std::ptrdiff_t>(end));
    for (Part& part : missing) {
        part.text = part.kind == Kind::number ? QStringView(u"0") : part.text;
    }
    shorter.insert(shorter.begin() + static_cast<std::ptrdiff_t>(begin), missing.begin(), missing.end());
}

/// Numbers beyond 64 bits with a sign all count as the largest.
std::int64_t numberOf(QStringView digits) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    std::int64_t number = 0;
    for (const QChar digit : digits) {
        if (number > (largest - digit.digitValue()) / 10) {
            return largest;
        }
        number = number * 10 + digit.digitValue();
    }
    return number;
}

std::weak_ordering compareParts(const Part& left, const Part& right) {
    if (isSeparator(left.kind) && isSeparator(right.kind)) {
        return std::weak_ordering::equivalent;
    }
    if (left.kind == right.kind) {
        return left.kind == Kind::number ? numberOf(left.text) <=> numberOf(right.text)
                                         : left.text.compare(right.text, Qt::CaseSensitive) <=> 0;
    }
    const auto rank = [](Kind kind) { return kind == Kind::string ? 0 : isSeparator(kind) ? 1 : 2; };
    return rank(left.kind) <=> rank(right.kind);
}

} // namespace

std::weak_ordering compareVersions(QStringView left, QStringView right) {
    Parts lefts = split(left);
    Parts rights = split(right);
    balance(lefts, rights);
    balance(rights, lefts);
    const std::size_t common = std::min(lefts.size(), rights.size());
    for (std::size_t index = 0; index < common; ++index) {
        if (const std::weak_ordering order = compareParts(lefts[index], rights[index]); std::is_neq(order)) {
            return order;
        }
    }
    if (lefts.size() == rights.size()) {
        return std::weak_ordering::equivalent;
    }
    const bool leftIsLonger = lefts.size() > rights.size();
    const bool longerIsOlder = (leftIsLonger ? lefts : rights)[common].kind == Kind::string;
    return leftIsLonger == longerIsOlder ? std::weak_ordering::less : std::weak_ordering::greater;
}

} // namespace ovrel
