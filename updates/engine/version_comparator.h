/// \file version_comparator.h
/// The order of version numbers, the same as on every system that reads our feeds. It is not semantic versioning.
#pragma once

#include <QStringView>

#include <compare>

namespace ovrel {

/// `less` when `left` is the older version. Any text is a version; any thread.
///
/// Numbers count as numbers, and missing ones at the end as 0: "1.0" and "1.0.0" are equivalent. A letter behind the
/// numbers makes a version older: "1.0b1" comes before "1.0". Everything behind a hyphen is ignored.
std::weak_ordering compareVersions(QStringView left, QStringView right);

} // namespace ovrel
