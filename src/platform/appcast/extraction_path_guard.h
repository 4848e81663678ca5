#pragma once

#include <QByteArray>
#include <QSet>

namespace tarnel {

// Decides, entry by entry, whether an archive may write where it asks: only
// inside the extraction folder, never through or over a link it made, and
// with links and hard links that lead nowhere else. Paths are the archive's
// own bytes, relative to the extraction folder. Every refusal throws
// UpdateInstallError::unsafeEntry.
class ExtractionPathGuard {
public:
    // `maximumPathLength`: the longest relative path that still fits the
    // system's limit below the extraction folder.
    explicit ExtractionPathGuard(qsizetype maximumPathLength);

    // The entry's path as plain names joined by '/', without "." names and
    // repeated slashes; empty for the extraction folder itself. Absolute paths,
    // ".." names and overlong paths are refused.
    QByteArray cleanPath(const QByteArray& entryPath) const;
    // Refuses a clean path that is, or lies below, a link extracted before.
    void checkNotThroughLink(const QByteArray& path) const;
    // Refuses a link at the clean `path` whose `target` could resolve outside
    // the extraction folder. Allowed targets are relative, with ".." names
    // only at their start, no more of them than the link's folder is deep.
    // Since no entry is written through a link, every link's folder is a real
    // one, and following any chain of such links stays inside.
    void checkLinkTarget(const QByteArray& path, const QByteArray& target) const;
    // Refuses a hard link unless its target is a plain file extracted before.
    void checkHardLinkTarget(const QByteArray& path, const QByteArray& target) const;

    void recordLink(const QByteArray& path) { links.insert(path); }
    void recordFile(const QByteArray& path) { files.insert(path); }

private:
    qsizetype maximumPathLength;
    QSet<QByteArray> links;
    QSet<QByteArray> files;
};

}  // namespace tarnel
