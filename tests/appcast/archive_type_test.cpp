#include "platform/appcast/archive_type.h"
#include "platform/appcast/update_install_error.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

UpdateInstallError::Kind refusalOf(const QString& downloadedName, const QString& enclosureName,
                                   const QByteArray& leadingBytes) {
    try {
        archiveTypeOf(downloadedName, enclosureName, leadingBytes);
    } catch (const UpdateInstallError& error) {
        return error.kind();
    }
    ADD_FAILURE() << "a type was chosen";
    return UpdateInstallError::Kind::installationFailed;
}

TEST(ArchiveType, ComesFromTheDownloadedName) {
    EXPECT_EQ(archiveTypeOf(QStringLiteral("Foo-2.0.zip"), QStringLiteral("x.tar.gz"), "\x1f\x8b"),
              ArchiveType::zip);
    for (const char* name : {"Foo.tar", "Foo.tar.gz", "Foo.tgz", "Foo.tar.bz2", "Foo.tbz",
                             "Foo.tar.xz", "Foo.txz", "Foo.tar.lzma", "FOO.TAR.GZ"}) {
        EXPECT_EQ(archiveTypeOf(QString::fromLatin1(name), QString(), "PK\x03\x04"),
                  ArchiveType::tar)
            << name;
    }
}

TEST(ArchiveType, FallsBackToTheEnclosureName) {
    EXPECT_EQ(archiveTypeOf(QStringLiteral("download"), QStringLiteral("Foo.tar.xz"), {}),
              ArchiveType::tar);
}

TEST(ArchiveType, SniffsTheBytesOfAnUnnamedArchive) {
    EXPECT_EQ(archiveTypeOf(QStringLiteral("latest"), QStringLiteral("latest"), "PK\x03\x04rest"),
              ArchiveType::zip);
    EXPECT_EQ(archiveTypeOf(QStringLiteral("latest"), QString(),
                            QByteArray("\xfd"
                                       "7zXZ\0x",
                                       7)),
              ArchiveType::tar);
    QByteArray plainTar(512, '\0');
    plainTar.replace(257, 5, "ustar");
    EXPECT_EQ(archiveTypeOf(QStringLiteral("latest"), QString(), plainTar), ArchiveType::tar);
}

TEST(ArchiveType, RefusesDiskImagesPackagesAndDeltas) {
    for (const char* name : {"Foo.dmg", "Foo.pkg", "Foo.mpkg", "Foo.aar", "Foo.yaa", "Foo.delta"}) {
        EXPECT_EQ(refusalOf(QString::fromLatin1(name), QStringLiteral("Foo.zip"), "PK\x03\x04"),
                  UpdateInstallError::Kind::unsupportedArchive)
            << name;
    }
}

TEST(ArchiveType, RefusesLoginPageServedInsteadOfArchive) {
    EXPECT_EQ(
        refusalOf(QStringLiteral("login.html"), QStringLiteral("download"), "<!DOCTYPE html>"),
        UpdateInstallError::Kind::unsupportedArchive);
}

}  // namespace
