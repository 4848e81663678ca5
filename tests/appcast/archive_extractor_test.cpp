#include "platform/appcast/archive_extractor.h"
#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "install_workshop.h"
#include "platform/appcast/update_install_error.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace tarnel;

namespace {

class ArchiveExtractorTest : public testing::Test {
protected:
    QString archive(const QString& name) const { return folder.filePath(name); }
    QString destination() const { return folder.filePath(QStringLiteral("extracted")); }
    QString extracted(const QString& path) const { return destination() + u'/' + path; }

    void extract(const QString& path, ArchiveType type,
                 const ArchiveExtractor& extractor = ArchiveExtractor()) {
        QDir().mkpath(destination());
        extractor.extract(path, type, destination(), {}, CancellationToken());
    }

    // Extracts a tar of the builder's entries and gives the refusal.
    UpdateInstallError refusalOf(const ArchiveBuilder& builder) {
        builder.writeTar(archive(QStringLiteral("hostile.tar")), ArchiveBuilder::Compression::none);
        try {
            extract(archive(QStringLiteral("hostile.tar")), ArchiveType::tar);
        } catch (const UpdateInstallError& error) {
            return error;
        }
        throw std::runtime_error("the archive was extracted");
    }

    // A zip of 50 files of 20,000 to 40,000 bytes, and the destination made.
    QString manyFilesZip() {
        ArchiveBuilder builder;
        for (int index = 0; index < 50; ++index) {
            builder.file("Foo.app/file" + QByteArray::number(index),
                         QByteArray::number(index).repeated(20000));
        }
        builder.writeZip(archive(QStringLiteral("many.zip")));
        QDir().mkpath(destination());
        return archive(QStringLiteral("many.zip"));
    }

    void expectUnsafe(const ArchiveBuilder& builder) {
        EXPECT_EQ(refusalOf(builder).kind(), UpdateInstallError::Kind::unsafeEntry);
    }

    QTemporaryDir folder;
};

int modeOf(const QString& path) {
    struct stat status {};
    lstat(QFile::encodeName(path).constData(), &status);
    return status.st_mode & 07777;
}

TEST_F(ArchiveExtractorTest, ZipKeepsLinksAndExecutableBits) {
    const QString bundle = writeBundle(folder.filePath(QStringLiteral("src/Foo.app")), {});
    ArchiveBuilder().tree(bundle, "Foo.app").writeZip(archive(QStringLiteral("Foo.zip")));
    extract(archive(QStringLiteral("Foo.zip")), ArchiveType::zip);
    EXPECT_EQ(treeListing(extracted(QStringLiteral("Foo.app"))), treeListing(bundle));
    EXPECT_EQ(modeOf(extracted(QStringLiteral("Foo.app/Contents/MacOS/Foo"))), 0755);
    EXPECT_EQ(QFileInfo(extracted(QStringLiteral("Foo.app/Contents/Frameworks/Kit.framework/Kit")))
                  .canonicalFilePath(),
              QFileInfo(extracted(QStringLiteral(
                            "Foo.app/Contents/Frameworks/Kit.framework/Versions/A/Kit")))
                  .canonicalFilePath());
}

TEST_F(ArchiveExtractorTest, CompressedTarKeepsLinksAndExecutableBits) {
    const QString bundle = writeBundle(folder.filePath(QStringLiteral("src/Foo.app")), {});
    for (const auto compression :
         {ArchiveBuilder::Compression::gzip, ArchiveBuilder::Compression::bzip2,
          ArchiveBuilder::Compression::xz}) {
        const QString path = archive(QStringLiteral("Foo-%1.tar").arg(int(compression)));
        ArchiveBuilder().tree(bundle, "Foo.app").writeTar(path, compression);
        extract(path, ArchiveType::tar);
        EXPECT_EQ(treeListing(extracted(QStringLiteral("Foo.app"))), treeListing(bundle));
        QDir(destination()).removeRecursively();
    }
}

TEST_F(ArchiveExtractorTest, SkipsMacResourceForkEntries) {
    ArchiveBuilder()
        .file("Foo.app/Contents/Info.plist", "plist")
        .file("__MACOSX/Foo.app/Contents/._Info.plist", "fork")
        .file("Foo.app/Contents/._Info.plist", "fork")
        .writeZip(archive(QStringLiteral("Foo.zip")));
    extract(archive(QStringLiteral("Foo.zip")), ArchiveType::zip);
    EXPECT_EQ(folderEntries(destination()), QStringList{QStringLiteral("Foo.app")});
    EXPECT_EQ(folderEntries(extracted(QStringLiteral("Foo.app/Contents"))),
              QStringList{QStringLiteral("Info.plist")});
}

TEST_F(ArchiveExtractorTest, AppliesFolderEntryListedAfterItsContents) {
    ArchiveBuilder()
        .file("Foo.app/Contents/MacOS/Foo", "binary", 0755)
        .folder("Foo.app/Contents/MacOS", 0555)
        .writeTar(archive(QStringLiteral("late.tar")));
    extract(archive(QStringLiteral("late.tar")), ArchiveType::tar);
    EXPECT_EQ(modeOf(extracted(QStringLiteral("Foo.app/Contents/MacOS"))), 0555);
    EXPECT_EQ(modeOf(extracted(QStringLiteral("Foo.app/Contents/MacOS/Foo"))), 0755);
}

TEST_F(ArchiveExtractorTest, DropsSetIdBits) {
    ArchiveBuilder().file("Foo.app/tool", "tool", 04755).writeZip(archive(QStringLiteral("a.zip")));
    extract(archive(QStringLiteral("a.zip")), ArchiveType::zip);
    EXPECT_EQ(modeOf(extracted(QStringLiteral("Foo.app/tool"))), 0755);
}

TEST_F(ArchiveExtractorTest, RefusesEntryClimbingOutWithDotDot) {
    const auto error = refusalOf(
        ArchiveBuilder().file("Foo.app/ok", "fine").file("Foo.app/../../escaped", "outside"));
    EXPECT_EQ(error.kind(), UpdateInstallError::Kind::unsafeEntry);
    EXPECT_FALSE(QFile::exists(folder.filePath(QStringLiteral("escaped"))));
}

TEST_F(ArchiveExtractorTest, RefusesAbsolutePath) {
    const QString target = folder.filePath(QStringLiteral("absolute"));
    const auto error = refusalOf(ArchiveBuilder().file(QFile::encodeName(target), "outside"));
    EXPECT_EQ(error.kind(), UpdateInstallError::Kind::unsafeEntry);
    EXPECT_FALSE(QFile::exists(target));
}

TEST_F(ArchiveExtractorTest, RefusesLinkToAbsolutePath) {
    expectUnsafe(ArchiveBuilder().link("Foo.app/etc", "/etc"));
}

TEST_F(ArchiveExtractorTest, RefusesLinkClimbingOutOfTheFolder) {
    expectUnsafe(ArchiveBuilder().link("Foo.app/Contents/up", "../../.."));
}

TEST_F(ArchiveExtractorTest, RefusesLinkClimbingThroughAnotherLink) {
    // "deep/.." would be the link's folder by its text, but the folder above
    // the link's target on disk.
    expectUnsafe(ArchiveBuilder()
                     .folder("Foo.app/a/b")
                     .link("Foo.app/a/b/deep", "../..")
                     .link("Foo.app/a/b/escape", "deep/../../.."));
}

TEST_F(ArchiveExtractorTest, AcceptsLinksThatStayInside) {
    ArchiveBuilder()
        .file("Foo.app/Contents/Resources/data", "data")
        .link("Foo.app/Contents/MacOS/data", "../Resources/data")
        .link("Foo.app/Contents/root", "../..")
        .writeTar(archive(QStringLiteral("ok.tar")));
    extract(archive(QStringLiteral("ok.tar")), ArchiveType::tar);
    QFile data(extracted(QStringLiteral("Foo.app/Contents/MacOS/data")));
    ASSERT_TRUE(data.open(QIODevice::ReadOnly));
    EXPECT_EQ(data.readAll(), "data");
}

TEST_F(ArchiveExtractorTest, RefusesFileWrittenThroughExtractedLink) {
    const auto error = refusalOf(ArchiveBuilder()
                                     .folder("Foo.app/real")
                                     .link("Foo.app/alias", "real")
                                     .file("Foo.app/alias/planted", "through the link"));
    EXPECT_EQ(error.kind(), UpdateInstallError::Kind::unsafeEntry);
    EXPECT_FALSE(QFile::exists(extracted(QStringLiteral("Foo.app/real/planted"))));
}

TEST_F(ArchiveExtractorTest, RefusesFileReplacingExtractedLink) {
    expectUnsafe(ArchiveBuilder()
                     .file("Foo.app/real", "real")
                     .link("Foo.app/alias", "real")
                     .file("Foo.app/alias", "over the link"));
}

TEST_F(ArchiveExtractorTest, RefusesHardLinkToFileOutside) {
    const QString outside = folder.filePath(QStringLiteral("secret"));
    writeTestFile(outside, "secret");
    expectUnsafe(ArchiveBuilder().hardLink("Foo.app/copy", QFile::encodeName(outside)));
    expectUnsafe(ArchiveBuilder().hardLink("Foo.app/copy", "../secret"));
}

TEST_F(ArchiveExtractorTest, RefusesHardLinkThroughExtractedLink) {
    expectUnsafe(ArchiveBuilder()
                     .file("Foo.app/real/file", "file")
                     .link("Foo.app/alias", "real")
                     .hardLink("Foo.app/copy", "Foo.app/alias/file"));
}

TEST_F(ArchiveExtractorTest, KeepsHardLinkToExtractedFile) {
    ArchiveBuilder()
        .file("Foo.app/file", "shared")
        .hardLink("Foo.app/copy", "Foo.app/file")
        .writeTar(archive(QStringLiteral("ok.tar")));
    extract(archive(QStringLiteral("ok.tar")), ArchiveType::tar);
    struct stat original {};
    struct stat copy {};
    lstat(QFile::encodeName(extracted(QStringLiteral("Foo.app/file"))).constData(), &original);
    lstat(QFile::encodeName(extracted(QStringLiteral("Foo.app/copy"))).constData(), &copy);
    EXPECT_EQ(original.st_ino, copy.st_ino);
}

TEST_F(ArchiveExtractorTest, RefusesDeviceNodesAndPipes) {
    expectUnsafe(ArchiveBuilder().fifo("Foo.app/pipe"));
}

TEST_F(ArchiveExtractorTest, StopsZipBombAtSizeCap) {
    ArchiveBuilder()
        .zeros("Foo.app/zeros", qint64(64) << 20)
        .writeZip(archive(QStringLiteral("bomb.zip")));
    ASSERT_LT(QFileInfo(archive(QStringLiteral("bomb.zip"))).size(), 1 << 20);
    try {
        extract(archive(QStringLiteral("bomb.zip")), ArchiveType::zip,
                ArchiveExtractor({.maximumBytes = 16 << 20}));
        FAIL() << "the bomb was extracted";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.kind(), UpdateInstallError::Kind::archiveTooLarge);
    }
    EXPECT_LE(QFileInfo(extracted(QStringLiteral("Foo.app/zeros"))).size(), 16 << 20);
}

TEST_F(ArchiveExtractorTest, StopsArchiveWithTooManyEntries) {
    try {
        extract(manyFilesZip(), ArchiveType::zip, ArchiveExtractor({.maximumEntries = 10}));
        FAIL() << "every entry was extracted";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.kind(), UpdateInstallError::Kind::archiveTooLarge);
    }
}

TEST_F(ArchiveExtractorTest, ReportsRisingProgressEndingAtOne) {
    const QString zip = manyFilesZip();
    QList<double> fractions;
    ArchiveExtractor().extract(
        zip, ArchiveType::zip, destination(), [&](double fraction) { fractions.append(fraction); },
        CancellationToken());
    ASSERT_GT(fractions.size(), 2);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_GT(fractions.front(), 0.0);
    EXPECT_LT(fractions.front(), 0.5);
    EXPECT_EQ(fractions.back(), 1.0);
}

TEST_F(ArchiveExtractorTest, StopsWhenCancelledMidway) {
    const QString zip = manyFilesZip();
    CancellationSource cancellation;
    EXPECT_THROW(ArchiveExtractor().extract(
                     zip, ArchiveType::zip, destination(), [&](double) { cancellation.cancel(); },
                     cancellation.token()),
                 CancellationError);
    EXPECT_LT(folderEntries(extracted(QStringLiteral("Foo.app"))).size(), 50);
}

TEST_F(ArchiveExtractorTest, ReportsArchiveThatIsNoArchive) {
    writeTestFile(archive(QStringLiteral("login.zip")), "<html>Please log in</html>");
    try {
        extract(archive(QStringLiteral("login.zip")), ArchiveType::zip);
        FAIL() << "the page was extracted";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.kind(), UpdateInstallError::Kind::extractionFailed);
    }
}

}  // namespace
