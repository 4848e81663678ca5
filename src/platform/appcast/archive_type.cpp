#include "platform/appcast/archive_type.h"

#include "platform/appcast/update_install_error.h"

#include <array>
#include <optional>

namespace tarnel {

namespace {

enum class Suffix { zip, tar, unsupported, unknown };

struct KnownSuffix {
    QLatin1StringView text;
    Suffix suffix;
};

// Compressed tar archives have their compression found from the content.
constexpr std::array knownSuffixes{
    KnownSuffix{QLatin1StringView(".zip"), Suffix::zip},
    KnownSuffix{QLatin1StringView(".tar"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tar.gz"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tgz"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tar.bz2"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tbz"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tar.xz"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".txz"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".tar.lzma"), Suffix::tar},
    KnownSuffix{QLatin1StringView(".dmg"), Suffix::unsupported},
    KnownSuffix{QLatin1StringView(".pkg"), Suffix::unsupported},
    KnownSuffix{QLatin1StringView(".mpkg"), Suffix::unsupported},
    KnownSuffix{QLatin1StringView(".aar"), Suffix::unsupported},
    KnownSuffix{QLatin1StringView(".yaa"), Suffix::unsupported},
    KnownSuffix{QLatin1StringView(".delta"), Suffix::unsupported},
};

Suffix suffixOf(const QString& name) {
    for (const KnownSuffix& known : knownSuffixes) {
        if (name.endsWith(known.text, Qt::CaseInsensitive)) {
            return known.suffix;
        }
    }
    return Suffix::unknown;
}

// A zip starts with a local header (or, when empty, its end record); a tar
// is compressed by gzip, bzip2, xz or lzma, or carries "ustar" at 257.
std::optional<ArchiveType> sniff(const QByteArray& bytes) {
    if (bytes.startsWith("PK\x03\x04") || bytes.startsWith("PK\x05\x06")) {
        return ArchiveType::zip;
    }
    static const std::array<QByteArray, 4> compressedStarts{QByteArray("\x1f\x8b", 2),
                                                            QByteArray("BZh"),
                                                            QByteArray("\xfd"
                                                                       "7zXZ\0",
                                                                       6),
                                                            QByteArray("\x5d\0\0", 3)};
    for (const QByteArray& start : compressedStarts) {
        if (bytes.startsWith(start)) {
            return ArchiveType::tar;
        }
    }
    if (bytes.mid(257, 5) == "ustar") {
        return ArchiveType::tar;
    }
    return std::nullopt;
}

}  // namespace

ArchiveType archiveTypeOf(const QString& downloadedName, const QString& enclosureName,
                          const QByteArray& leadingBytes) {
    Suffix suffix = suffixOf(downloadedName);
    if (suffix == Suffix::unknown) {
        suffix = suffixOf(enclosureName);
    }
    switch (suffix) {
        case Suffix::zip:
            return ArchiveType::zip;
        case Suffix::tar:
            return ArchiveType::tar;
        case Suffix::unsupported:
            break;
        case Suffix::unknown:
            if (const auto sniffed = sniff(leadingBytes)) {
                return *sniffed;
            }
            break;
    }
    throw UpdateInstallError::unsupportedArchive(downloadedName);
}

}  // namespace tarnel
