#include "platform/appcast/archive_extractor.h"

#include "core/async/cancellation_token.h"
#include "platform/appcast/extraction_path_guard.h"
#include "platform/appcast/update_install_error.h"

#include <QFile>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <memory>

namespace tarnel {

namespace {

struct ReaderRelease {
    void operator()(archive* reader) const { archive_read_free(reader); }
};
struct WriterRelease {
    void operator()(archive* writer) const { archive_write_free(writer); }
};
using ArchiveReader = std::unique_ptr<archive, ReaderRelease>;
using ArchiveWriter = std::unique_ptr<archive, WriterRelease>;

constexpr std::size_t readBlockSize = 64 * 1024;

// Our own checks come first; the library's refusals are the second line.
// Permission bits are restored as archived (set-id bits are dropped per
// entry) and owners never are. Entries may overwrite earlier ones, since a
// folder's entry can follow its contents; the guard keeps links from being
// replaced.
constexpr int writeOptions = ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME |
                             ARCHIVE_EXTRACT_SECURE_SYMLINKS | ARCHIVE_EXTRACT_SECURE_NODOTDOT;

QString errorText(archive* handle) {
    const char* text = archive_error_string(handle);
    return text != nullptr ? QString::fromLocal8Bit(text) : QStringLiteral("unknown error");
}

ArchiveReader openReader(const QByteArray& path, ArchiveType type) {
    ArchiveReader reader(archive_read_new());
    switch (type) {
        case ArchiveType::zip:
            // The central directory holds the permission bits and the links.
            archive_read_support_format_zip_seekable(reader.get());
            break;
        case ArchiveType::tar:
            archive_read_support_format_tar(reader.get());
            archive_read_support_filter_gzip(reader.get());
            archive_read_support_filter_bzip2(reader.get());
            archive_read_support_filter_xz(reader.get());
            archive_read_support_filter_lzma(reader.get());
            break;
    }
    if (archive_read_open_filename(reader.get(), path.constData(), readBlockSize) != ARCHIVE_OK) {
        throw UpdateInstallError::extractionFailed(errorText(reader.get()));
    }
    return reader;
}

// Resource forks and Finder metadata that macOS archivers add beside the files.
bool isMetadataEntry(const QByteArray& path) {
    return path == "__MACOSX" || path.startsWith("__MACOSX/") || path.startsWith("._") ||
           path.contains("/._");
}

// Reports the fraction of the archive consumed, in steps of a percent.
class ProgressMeter {
public:
    ProgressMeter(const std::function<void(double)>& onProgress, qint64 archiveSize)
        : onProgress(onProgress), archiveSize(archiveSize) {}

    void update(archive* reader) {
        const double fraction =
            archiveSize > 0
                ? std::min(1.0, double(archive_filter_bytes(reader, -1)) / double(archiveSize))
                : 0.0;
        if (fraction >= reported + 0.01) {
            report(fraction);
        }
    }

    void finish() {
        if (reported < 1.0) {
            report(1.0);
        }
    }

private:
    void report(double fraction) {
        reported = fraction;
        if (onProgress) {
            onProgress(fraction);
        }
    }

    const std::function<void(double)>& onProgress;
    qint64 archiveSize;
    double reported = 0.0;
};

class Extraction {
public:
    Extraction(const ArchiveExtractor::Limits& limits, const QByteArray& root,
               const CancellationToken& token)
        : limits(limits),
          root(root),
          token(token),
          guard(PATH_MAX - root.size() - 2),
          writer(archive_write_disk_new()) {
        archive_write_disk_set_options(writer.get(), writeOptions);
    }

    void run(archive* reader, ProgressMeter& progress) {
        for (;;) {
            token.throwIfCancelled();
            archive_entry* entry = nullptr;
            const int status = archive_read_next_header(reader, &entry);
            if (status == ARCHIVE_EOF) {
                break;
            }
            if (status < ARCHIVE_WARN) {
                throw UpdateInstallError::extractionFailed(errorText(reader));
            }
            if (++entryCount > limits.maximumEntries) {
                throw UpdateInstallError::archiveTooLarge(
                    QStringLiteral("it holds more than %1 entries").arg(limits.maximumEntries));
            }
            extractEntry(reader, entry, progress);
        }
        if (archive_write_close(writer.get()) < ARCHIVE_WARN) {
            throw UpdateInstallError::extractionFailed(errorText(writer.get()));
        }
    }

private:
    void extractEntry(archive* reader, archive_entry* entry, ProgressMeter& progress) {
        const char* rawPath = archive_entry_pathname(entry);
        if (rawPath == nullptr) {
            throw UpdateInstallError::extractionFailed(
                QStringLiteral("an entry has no readable name"));
        }
        const QByteArray path = guard.cleanPath(rawPath);
        if (path.isEmpty() || isMetadataEntry(path)) {
            return;
        }
        guard.checkNotThroughLink(path);
        const char* hardLink = archive_entry_hardlink(entry);
        const mode_t type = archive_entry_filetype(entry);
        if (hardLink != nullptr) {
            const QByteArray target = guard.cleanPath(hardLink);
            guard.checkHardLinkTarget(path, target);
            archive_entry_set_hardlink(entry, (root + '/' + target).constData());
        } else if (type == AE_IFLNK) {
            const char* target = archive_entry_symlink(entry);
            guard.checkLinkTarget(path, target != nullptr ? target : "");
        } else if (type != AE_IFREG && type != AE_IFDIR) {
            throw UpdateInstallError::unsafeEntry(QString::fromLocal8Bit(path),
                                                  QStringLiteral("is a device, pipe or socket"));
        }
        if (archive_entry_size_is_set(entry) && archive_entry_size(entry) > 0) {
            checkSize(archive_entry_size(entry));
        }
        archive_entry_set_pathname(entry, (root + '/' + path).constData());
        archive_entry_set_perm(entry, archive_entry_perm(entry) & 0777);
        if (archive_write_header(writer.get(), entry) < ARCHIVE_WARN) {
            throw UpdateInstallError::extractionFailed(errorText(writer.get()));
        }
        if (type == AE_IFREG) {
            copyData(reader, progress);
        }
        if (archive_write_finish_entry(writer.get()) < ARCHIVE_WARN) {
            throw UpdateInstallError::extractionFailed(errorText(writer.get()));
        }
        if (type == AE_IFLNK && hardLink == nullptr) {
            guard.recordLink(path);
        } else if (type == AE_IFREG) {
            guard.recordFile(path);
        }
        progress.update(reader);
    }

    void copyData(archive* reader, ProgressMeter& progress) {
        // Sparse entries jump ahead: the end of the last block is the size.
        qint64 entrySize = 0;
        for (;;) {
            token.throwIfCancelled();
            const void* block = nullptr;
            std::size_t size = 0;
            la_int64_t offset = 0;
            const int status = archive_read_data_block(reader, &block, &size, &offset);
            if (status == ARCHIVE_EOF) {
                break;
            }
            if (status < ARCHIVE_WARN) {
                throw UpdateInstallError::extractionFailed(errorText(reader));
            }
            entrySize = std::max<qint64>(entrySize, offset + qint64(size));
            checkSize(entrySize);
            if (archive_write_data_block(writer.get(), block, size, offset) < ARCHIVE_WARN) {
                throw UpdateInstallError::extractionFailed(errorText(writer.get()));
            }
            progress.update(reader);
        }
        extractedBytes += entrySize;
    }

    // `entryBytes` of the current entry come on top of what is already out.
    void checkSize(qint64 entryBytes) const {
        if (entryBytes > limits.maximumBytes - extractedBytes) {
            throw UpdateInstallError::archiveTooLarge(
                QStringLiteral("it expands to more than %1 bytes").arg(limits.maximumBytes));
        }
    }

    const ArchiveExtractor::Limits& limits;
    const QByteArray root;
    const CancellationToken& token;
    ExtractionPathGuard guard;
    ArchiveWriter writer;
    qint64 entryCount = 0;
    qint64 extractedBytes = 0;
};

}  // namespace

void ArchiveExtractor::extract(const QString& archivePath, ArchiveType type,
                               const QString& destination,
                               const std::function<void(double)>& onProgress,
                               const CancellationToken& token) const {
    token.throwIfCancelled();
    // The library checks every folder of a path for links, the destination's
    // own included, so it gets the destination with its links resolved.
    char* resolved = realpath(QFile::encodeName(destination).constData(), nullptr);
    if (resolved == nullptr) {
        throw UpdateInstallError::extractionFailed(
            QStringLiteral("the folder %1 is missing").arg(destination));
    }
    const QByteArray root(resolved);
    std::free(resolved);
    const QByteArray path = QFile::encodeName(archivePath);
    struct stat status {};
    if (stat(path.constData(), &status) != 0) {
        throw UpdateInstallError::unreadableArchive(archivePath);
    }
    ArchiveReader reader = openReader(path, type);
    ProgressMeter progress(onProgress, status.st_size);
    Extraction(limits, root, token).run(reader.get(), progress);
    progress.finish();
}

}  // namespace tarnel
