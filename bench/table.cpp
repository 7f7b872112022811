#include "bench/table.h"

#include <cstdio>

namespace ovrel::bench {

namespace {

constexpr int whatWidth = 42;
constexpr int besideWidth = 30;

std::string inWords(const std::optional<double>& ratio) {
    if (!ratio) {
        return "-";
    }
    std::string text(16, '\0');
    text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%.2f", *ratio)));
    return text;
}

} // namespace

void printHead() {
    std::printf("%-*s %-*s %7s %7s %7s  %s\n", whatWidth, "what", besideWidth, "beside", "time", "bytes", "memory",
                "remark");
}

void print(const TableRow& row) {
    std::printf("%-*s %-*s %7.2f %7s %7s  %s\n", whatWidth, row.what.c_str(), besideWidth, row.beside.c_str(), row.time,
                inWords(row.bytes).c_str(), inWords(row.memory).c_str(), row.remark.c_str());
    std::fflush(stdout);
}

TableRow rowOf(const Contestant& ours, const Contestant& theirs) {
    std::string seconds(32, '\0');
    seconds.resize(static_cast<std::size_t>(
        std::snprintf(seconds.data(), seconds.size(), "%.3g s / %.3g s", ours.best->seconds, theirs.best->seconds)));
    return {.what = ours.name,
            .beside = theirs.name,
            .time = ours.best->seconds / theirs.best->seconds,
            .memory = static_cast<double>(ours.best->peakBytes) / static_cast<double>(theirs.best->peakBytes),
            .remark = seconds};
}

} // namespace ovrel::bench
