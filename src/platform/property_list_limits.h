#pragma once

#include <QtGlobal>

namespace tarnel {

// What a property list read from a bundle may hold. Real ones are tens of
// kilobytes with a few thousand parts and nest a handful of levels; each
// limit leaves them room seventy times over or more, and together they keep the
// time and memory that reading anything a bundle holds can take small.
struct PropertyListLimits {
    // The largest file read. The XML reader holds about eight bytes per byte
    // of a long text, so four mebibytes cost some thirty-three at worst.
    static constexpr qsizetype maximumSize = 4 * 1024 * 1024;
    // How deep arrays and dictionaries may nest.
    static constexpr int maximumDepth = 256;
    // How many parts (tags, texts, comments) an XML list may have, which
    // bounds the work on markup packed densely into the bytes.
    static constexpr qsizetype maximumXmlParts = 256 * 1024;
};

}  // namespace tarnel
