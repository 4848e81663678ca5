#include "install_workshop.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sodium.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <stdexcept>

namespace {

QString base64(const QByteArray& bytes) {
    QByteArray text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL),
                    Qt::Uninitialized);
    sodium_bin2base64(text.data(), text.size(),
                      reinterpret_cast<const unsigned char*>(bytes.constData()), bytes.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    return QString::fromLatin1(text.constData());
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error("cannot read a test file");
    }
    return file.readAll();
}

QByteArray linkTarget(const QString& path) {
    char target[PATH_MAX];
    const ssize_t length = readlink(QFile::encodeName(path).constData(), target, sizeof target);
    return length > 0 ? QByteArray(target, length) : QByteArray();
}

void check(int status, struct archive* handle) {
    if (status < ARCHIVE_WARN) {
        throw std::runtime_error(archive_error_string(handle));
    }
}

}  // namespace

SigningKey::SigningKey() : SigningKey(QByteArray()) {}

SigningKey::SigningKey(const QByteArray& seed)
    : publicBytes(crypto_sign_PUBLICKEYBYTES, Qt::Uninitialized),
      secretBytes(crypto_sign_SECRETKEYBYTES, Qt::Uninitialized) {
    if (sodium_init() < 0) {
        throw std::runtime_error("libsodium cannot start");
    }
    auto* publicKey = reinterpret_cast<unsigned char*>(publicBytes.data());
    auto* secretKey = reinterpret_cast<unsigned char*>(secretBytes.data());
    if (seed.isEmpty()) {
        crypto_sign_keypair(publicKey, secretKey);
    } else {
        crypto_sign_seed_keypair(publicKey, secretKey,
                                 reinterpret_cast<const unsigned char*>(seed.constData()));
    }
}

QString SigningKey::publicKey() const {
    return base64(publicBytes);
}

QString SigningKey::signFile(const QString& path) const {
    const QByteArray message = readAll(path);
    QByteArray signature(crypto_sign_BYTES, Qt::Uninitialized);
    crypto_sign_detached(reinterpret_cast<unsigned char*>(signature.data()), nullptr,
                         reinterpret_cast<const unsigned char*>(message.constData()),
                         message.size(),
                         reinterpret_cast<const unsigned char*>(secretBytes.constData()));
    return base64(signature);
}

QByteArray infoPlistOf(const BundleContents& contents) {
    QByteArray keys;
    const auto add = [&keys](const char* key, const QString& value) {
        keys += "  <key>" + QByteArray(key) + "</key>\n  <string>" + value.toUtf8() + "</string>\n";
    };
    add("CFBundleIdentifier", contents.identifier);
    add("CFBundleVersion", contents.version);
    add("CFBundleShortVersionString", contents.version);
    add("CFBundleName", contents.name);
    add("SUFeedURL", QStringLiteral("https://updates.example.org/appcast.xml"));
    if (contents.publicEdKey) {
        add("SUPublicEDKey", *contents.publicEdKey);
    }
    if (contents.publicDsaKey) {
        add("SUPublicDSAKey", *contents.publicDsaKey);
    }
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n<dict>\n" +
           keys + "</dict>\n</plist>\n";
}

QString writeBundle(const QString& path, const BundleContents& contents) {
    writeTestFile(path + QStringLiteral("/Contents/Info.plist"), infoPlistOf(contents));
    writeTestFile(path + QStringLiteral("/Contents/MacOS/") + contents.name,
                  "executable " + contents.version.toUtf8(), 0755);
    writeTestFile(path + QStringLiteral("/Contents/Resources/notes.txt"),
                  "notes of " + contents.version.toUtf8());
    const QString framework = path + QStringLiteral("/Contents/Frameworks/Kit.framework");
    writeTestFile(framework + QStringLiteral("/Versions/A/Kit"), "kit " + contents.version.toUtf8(),
                  0755);
    QFile::link(QStringLiteral("A"), framework + QStringLiteral("/Versions/Current"));
    QFile::link(QStringLiteral("Versions/Current/Kit"), framework + QStringLiteral("/Kit"));
    return path;
}

void writeTestFile(const QString& path, const QByteArray& bytes, int mode) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        throw std::runtime_error("cannot write a test file");
    }
    file.close();
    chmod(QFile::encodeName(path).constData(), mode);
}

ArchiveBuilder& ArchiveBuilder::file(const QByteArray& path, const QByteArray& contents, int mode) {
    entries.append({Entry::Type::file, path, contents, mode});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::folder(const QByteArray& path, int mode) {
    entries.append({Entry::Type::folder, path, {}, mode});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::link(const QByteArray& path, const QByteArray& target) {
    entries.append({Entry::Type::link, path, target, 0777});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::hardLink(const QByteArray& path, const QByteArray& target) {
    entries.append({Entry::Type::hardLink, path, target, 0644});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::fifo(const QByteArray& path) {
    entries.append({Entry::Type::fifo, path, {}, 0644});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::zeros(const QByteArray& path, qint64 size) {
    entries.append({Entry::Type::zeros, path, {}, 0644, size});
    return *this;
}

ArchiveBuilder& ArchiveBuilder::tree(const QString& folder, const QByteArray& prefix) {
    QStringList paths;
    QDirIterator iterator(folder,
                          QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        paths.append(iterator.next());
    }
    std::sort(paths.begin(), paths.end());
    this->folder(prefix);
    for (const QString& path : paths) {
        const QByteArray name = prefix + '/' + QDir(folder).relativeFilePath(path).toUtf8();
        struct stat status {};
        lstat(QFile::encodeName(path).constData(), &status);
        if (S_ISLNK(status.st_mode)) {
            link(name, linkTarget(path));
        } else if (S_ISDIR(status.st_mode)) {
            this->folder(name, status.st_mode & 07777);
        } else {
            file(name, readAll(path), status.st_mode & 07777);
        }
    }
    return *this;
}

void ArchiveBuilder::writeZip(const QString& path) const {
    struct archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    write(writer, path);
}

void ArchiveBuilder::writeTar(const QString& path, Compression compression) const {
    struct archive* writer = archive_write_new();
    archive_write_set_format_pax_restricted(writer);
    switch (compression) {
        case Compression::none:
            break;
        case Compression::gzip:
            archive_write_add_filter_gzip(writer);
            break;
        case Compression::bzip2:
            archive_write_add_filter_bzip2(writer);
            break;
        case Compression::xz:
            archive_write_add_filter_xz(writer);
            break;
    }
    write(writer, path);
}

void ArchiveBuilder::write(struct archive* writer, const QString& path) const {
    check(archive_write_open_filename(writer, QFile::encodeName(path).constData()), writer);
    for (const Entry& item : entries) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, item.path.constData());
        archive_entry_set_perm(entry, item.mode);
        archive_entry_set_mtime(entry, 1700000000, 0);
        switch (item.type) {
            case Entry::Type::file:
            case Entry::Type::zeros:
                archive_entry_set_filetype(entry, AE_IFREG);
                archive_entry_set_size(
                    entry, item.type == Entry::Type::file ? item.data.size() : item.size);
                break;
            case Entry::Type::folder:
                archive_entry_set_filetype(entry, AE_IFDIR);
                break;
            case Entry::Type::link:
                archive_entry_set_filetype(entry, AE_IFLNK);
                archive_entry_set_symlink(entry, item.data.constData());
                break;
            case Entry::Type::hardLink:
                archive_entry_set_filetype(entry, AE_IFREG);
                archive_entry_set_hardlink(entry, item.data.constData());
                break;
            case Entry::Type::fifo:
                archive_entry_set_filetype(entry, AE_IFIFO);
                break;
        }
        check(archive_write_header(writer, entry), writer);
        if (item.type == Entry::Type::file) {
            check(int(archive_write_data(writer, item.data.constData(), item.data.size())), writer);
        } else if (item.type == Entry::Type::zeros) {
            const QByteArray piece(1 << 20, '\0');
            for (qint64 left = item.size; left > 0; left -= piece.size()) {
                check(int(archive_write_data(writer, piece.constData(),
                                             std::min<qint64>(left, piece.size()))),
                      writer);
            }
        }
        archive_entry_free(entry);
    }
    check(archive_write_close(writer), writer);
    archive_write_free(writer);
}

QStringList treeListing(const QString& root) {
    QStringList lines;
    QDirIterator iterator(root,
                          QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        struct stat status {};
        lstat(QFile::encodeName(path).constData(), &status);
        QString detail;
        if (S_ISLNK(status.st_mode)) {
            detail = QStringLiteral("link ") + QFile::decodeName(linkTarget(path));
        } else if (S_ISDIR(status.st_mode)) {
            detail = QStringLiteral("folder");
        } else {
            detail =
                QStringLiteral("file ") +
                QString::fromLatin1(
                    QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256).toHex());
        }
        lines.append(QStringLiteral("%1 %2 %3:%4 %5")
                         .arg(QDir(root).relativeFilePath(path))
                         .arg(status.st_mode & 07777, 4, 8, QChar(u'0'))
                         .arg(status.st_uid)
                         .arg(status.st_gid)
                         .arg(detail));
    }
    lines.sort();
    return lines;
}

QStringList folderEntries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                  QDir::System);
}

ImmutableFolder::ImmutableFolder(const QString& path) : path(path) {
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY);
    int flags = 0;
    if (descriptor >= 0 && ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_IMMUTABLE_FL;
        active = ioctl(descriptor, FS_IOC_SETFLAGS, &flags) == 0;
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}

ImmutableFolder::~ImmutableFolder() {
    if (!active) {
        return;
    }
    const int descriptor = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY);
    int flags = 0;
    if (descriptor >= 0 && ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0) {
        flags &= ~FS_IMMUTABLE_FL;
        ioctl(descriptor, FS_IOC_SETFLAGS, &flags);
    }
    if (descriptor >= 0) {
        close(descriptor);
    }
}
