#include "bundle_archive_writer.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>

#include <memory>
#include <stdexcept>

namespace tarnel {

namespace {

struct ArchiveDeleter {
    void operator()(archive* writer) const { archive_write_free(writer); }
};
struct EntryDeleter {
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

void check(archive* writer, int status) {
    if (status < ARCHIVE_WARN) {
        throw std::runtime_error(archive_error_string(writer) ? archive_error_string(writer)
                                                              : "archive write failed");
    }
}

void chooseFormat(archive* writer, BundleArchiveFormat format) {
    switch (format) {
        case BundleArchiveFormat::zip:
            check(writer, archive_write_set_format_zip(writer));
            return;
        case BundleArchiveFormat::tarGzip:
            check(writer, archive_write_set_format_pax_restricted(writer));
            check(writer, archive_write_add_filter_gzip(writer));
            return;
        case BundleArchiveFormat::tarBzip2:
            check(writer, archive_write_set_format_pax_restricted(writer));
            check(writer, archive_write_add_filter_bzip2(writer));
            return;
        case BundleArchiveFormat::tarXz:
            check(writer, archive_write_set_format_pax_restricted(writer));
            check(writer, archive_write_add_filter_xz(writer));
            return;
    }
}

void addEntry(archive* writer, const QString& path, const QString& name) {
    struct stat status {};
    const QByteArray nativePath = QFile::encodeName(path);
    if (lstat(nativePath.constData(), &status) != 0) {
        throw std::runtime_error("cannot read " + nativePath.toStdString());
    }
    std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), QFile::encodeName(name).constData());
    archive_entry_copy_stat(entry.get(), &status);
    if (S_ISLNK(status.st_mode)) {
        // The stored target is the link's own text, relative as it was made.
        QByteArray target(PATH_MAX, '\0');
        const ssize_t length = readlink(nativePath.constData(), target.data(), target.size());
        if (length < 0) {
            throw std::runtime_error("cannot read the link " + nativePath.toStdString());
        }
        target.truncate(length);
        archive_entry_set_symlink(entry.get(), target.constData());
        archive_entry_set_size(entry.get(), 0);
    }
    check(writer, archive_write_header(writer, entry.get()));
    if (S_ISREG(status.st_mode)) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            throw std::runtime_error("cannot read " + nativePath.toStdString());
        }
        while (!file.atEnd()) {
            const QByteArray chunk = file.read(1 << 16);
            if (archive_write_data(writer, chunk.constData(), static_cast<size_t>(chunk.size())) <
                0) {
                check(writer, ARCHIVE_FATAL);
            }
        }
    }
}

}  // namespace

void writeBundleArchive(const QString& folder, const QString& archivePath,
                        BundleArchiveFormat format) {
    std::unique_ptr<archive, ArchiveDeleter> writer(archive_write_new());
    chooseFormat(writer.get(), format);
    check(writer.get(),
          archive_write_open_filename(writer.get(), QFile::encodeName(archivePath).constData()));
    const QFileInfo root(folder);
    const QString rootName = root.fileName();
    addEntry(writer.get(), root.absoluteFilePath(), rootName);
    QDirIterator entries(root.absoluteFilePath(),
                         QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        addEntry(writer.get(), path, rootName + path.mid(root.absoluteFilePath().size()));
    }
    check(writer.get(), archive_write_close(writer.get()));
}

}  // namespace tarnel
