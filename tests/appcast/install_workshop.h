#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// An Ed25519 key pair made for one test, as the signing tools make them.
class SigningKey {
public:
    SigningKey();
    explicit SigningKey(const QByteArray& seed);

    // SUPublicEDKey's form: base64 of the 32-byte public key.
    QString publicKey() const;
    // sparkle:edSignature's form: base64 of the 64-byte signature of the
    // file's exact bytes.
    QString signFile(const QString& path) const;

private:
    QByteArray publicBytes;
    QByteArray secretBytes;
};

// An application bundle as a test lays it out: an Info.plist, an executable,
// a resource and a framework with its usual links.
struct BundleContents {
    QString identifier = QStringLiteral("org.example.foo");
    QString version = QStringLiteral("100");
    QString name = QStringLiteral("Foo");
    std::optional<QString> publicEdKey;
    std::optional<QString> publicDsaKey;
};
// Writes the bundle at `path` and gives `path`.
QString writeBundle(const QString& path, const BundleContents& contents);
QByteArray infoPlistOf(const BundleContents& contents);

// Builds real zip and tar archives with the archive library's writer.
class ArchiveBuilder {
public:
    enum class Compression { none, gzip, bzip2, xz };

    ArchiveBuilder& file(const QByteArray& path, const QByteArray& contents, int mode = 0644);
    ArchiveBuilder& folder(const QByteArray& path, int mode = 0755);
    ArchiveBuilder& link(const QByteArray& path, const QByteArray& target);
    ArchiveBuilder& hardLink(const QByteArray& path, const QByteArray& target);
    ArchiveBuilder& fifo(const QByteArray& path);
    // A file of `size` zero bytes, written in pieces.
    ArchiveBuilder& zeros(const QByteArray& path, qint64 size);
    // Every entry of the tree at `folder`, named `prefix` and its relative path.
    ArchiveBuilder& tree(const QString& folder, const QByteArray& prefix);

    void writeZip(const QString& path) const;
    void writeTar(const QString& path, Compression compression = Compression::gzip) const;

private:
    struct Entry {
        enum class Type { file, folder, link, hardLink, fifo, zeros };
        Type type;
        QByteArray path;
        QByteArray data;
        int mode = 0;
        qint64 size = 0;
    };
    void write(struct archive* writer, const QString& path) const;

    QList<Entry> entries;
};

// One line per entry below `root`, in path order: its relative path, type,
// permission bits, owner, and the SHA-256 of its contents or its link target.
QStringList treeListing(const QString& root);
// The names directly in `folder`, hidden ones included.
QStringList folderEntries(const QString& folder);

// Makes a folder immutable while it lives, so that even the superuser can
// neither add, remove nor rename entries in it.
class ImmutableFolder {
public:
    explicit ImmutableFolder(const QString& path);
    ~ImmutableFolder();
    ImmutableFolder(const ImmutableFolder&) = delete;
    ImmutableFolder& operator=(const ImmutableFolder&) = delete;

    // False where the file system or the process's privileges forbid it.
    bool isActive() const { return active; }

private:
    QString path;
    bool active = false;
};

void writeTestFile(const QString& path, const QByteArray& bytes, int mode = 0644);
