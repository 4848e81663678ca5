#include "platform/appcast/bundle_replacer.h"
#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "install_workshop.h"
#include "platform/appcast/update_install_error.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace tarnel;

namespace {

class BundleReplacerTest : public testing::Test {
protected:
    BundleReplacerTest() {
        QDir().mkpath(applications());
        writeBundle(installed(), {});
        writeBundle(replacement(), {.version = QStringLiteral("200")});
        installedListing = treeListing(installed());
        replacementListing = treeListing(replacement());
    }

    QString applications() const { return folder.filePath(QStringLiteral("Applications")); }
    QString installed() const { return applications() + QStringLiteral("/Foo.app"); }
    QString replacement() const { return folder.filePath(QStringLiteral("work/Foo.app")); }

    // The installed bundle is untouched and nothing else is in its folder.
    void expectInstalledUntouched() const {
        EXPECT_EQ(treeListing(installed()), installedListing);
        EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
    }

    UpdateInstallError failureOfReplace() const {
        try {
            replaceBundle(installed(), replacement(), CancellationToken());
        } catch (const UpdateInstallError& error) {
            return error;
        }
        throw std::runtime_error("the bundle was replaced");
    }

    QTemporaryDir folder;
    QStringList installedListing;
    QStringList replacementListing;
};

TEST_F(BundleReplacerTest, PutsReplacementInPlaceAndRemovesOldBundle) {
    replaceBundle(installed(), replacement(), CancellationToken());
    EXPECT_EQ(treeListing(installed()), replacementListing);
    EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
    EXPECT_FALSE(QFile::exists(replacement()));
}

TEST_F(BundleReplacerTest, CopiesReplacementFromAnotherFileSystem) {
    QTemporaryDir memory(QStringLiteral("/dev/shm/tarnel-replacer-XXXXXX"));
    struct stat here {};
    struct stat there {};
    stat(QFile::encodeName(applications()).constData(), &here);
    if (!memory.isValid() || stat(QFile::encodeName(memory.path()).constData(), &there) != 0 ||
        here.st_dev == there.st_dev) {
        GTEST_SKIP() << "no second file system to copy from";
    }
    const QString elsewhere =
        writeBundle(memory.filePath(QStringLiteral("Foo.app")), {.version = QStringLiteral("300")});
    const QStringList listing = treeListing(elsewhere);
    replaceBundle(installed(), elsewhere, CancellationToken());
    EXPECT_EQ(treeListing(installed()), listing);
    EXPECT_EQ(folderEntries(applications()), QStringList{QStringLiteral("Foo.app")});
}

TEST_F(BundleReplacerTest, GivesReplacementTheInstalledOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give files away";
    }
    const QByteArray path = QFile::encodeName(installed());
    ASSERT_EQ(lchown(path.constData(), 4321, 4321), 0);
    replaceBundle(installed(), replacement(), CancellationToken());
    struct stat status {};
    lstat(QFile::encodeName(installed() + QStringLiteral("/Contents/MacOS/Foo")).constData(),
          &status);
    EXPECT_EQ(status.st_uid, 4321u);
    EXPECT_EQ(status.st_gid, 4321u);
}

TEST_F(BundleReplacerTest, LeavesBundleIntactInReadOnlyApplicationsFolder) {
    const ImmutableFolder lock(applications());
    if (!lock.isActive()) {
        GTEST_SKIP() << "this file system cannot make a folder immutable";
    }
    const auto error = failureOfReplace();
    EXPECT_EQ(error.kind(), UpdateInstallError::Kind::installationFailed);
    EXPECT_EQ(error.code(), 4012);
    expectInstalledUntouched();
    EXPECT_EQ(treeListing(replacement()), replacementListing);
}

TEST_F(BundleReplacerTest, RemovesStagedCopyWhenSwapIsRefused) {
    // The folder stays writable, so staging succeeds, but the bundle itself
    // cannot be moved.
    const ImmutableFolder lock(installed());
    if (!lock.isActive()) {
        GTEST_SKIP() << "this file system cannot make a folder immutable";
    }
    EXPECT_EQ(failureOfReplace().kind(), UpdateInstallError::Kind::installationFailed);
    expectInstalledUntouched();
}

TEST_F(BundleReplacerTest, StopsBeforeSwapWhenCancelled) {
    CancellationSource cancellation;
    cancellation.cancel();
    EXPECT_THROW(replaceBundle(installed(), replacement(), cancellation.token()),
                 CancellationError);
    expectInstalledUntouched();
}

TEST_F(BundleReplacerTest, RefusesToReplaceALinkToABundle) {
    const QString link = applications() + QStringLiteral("/Link.app");
    QFile::link(installed(), link);
    EXPECT_THROW(replaceBundle(link, replacement(), CancellationToken()), UpdateInstallError);
    EXPECT_EQ(QFileInfo(link).symLinkTarget(), installed());
    EXPECT_EQ(treeListing(installed()), installedListing);
}

TEST_F(BundleReplacerTest, FallbackSwapsByTwoRenames) {
    const QString backup = applications() + QStringLiteral("/.backup");
    replaceBundleByRenames(installed(), replacement(), backup);
    EXPECT_EQ(treeListing(installed()), replacementListing);
    EXPECT_EQ(treeListing(backup), installedListing);
}

TEST_F(BundleReplacerTest, FallbackPutsInstalledBundleBackWhenSecondRenameFails) {
    const QString backup = applications() + QStringLiteral("/.backup");
    try {
        replaceBundleByRenames(installed(), folder.filePath(QStringLiteral("gone.app")), backup);
        FAIL() << "a missing bundle was put in place";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.errorNumber(), ENOENT);
    }
    expectInstalledUntouched();
}

}  // namespace
