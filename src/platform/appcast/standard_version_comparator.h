#pragma once

#include <QString>

#include <compare>

namespace tarnel {

// The ordering update feeds are written against: versions split into runs of
// digits, letters and separators, compared run by run, everything from the
// first dash after the first character ignored. A letter run ranks below a
// digit or a separator, so "1.0b1" is older than "1.0", but so is "1.0+1".
//
// It is not a strict weak order on odd texts ("2b12" < "2..." < "2.0b" yet
// "2b12" > "2.0b"), so pick a greatest version with a linear scan in which
// only a strictly greater candidate replaces the current one; never sort with
// it. Pure and safe to call from any thread.
std::strong_ordering compareStandardVersions(const QString& a, const QString& b);

}  // namespace tarnel
