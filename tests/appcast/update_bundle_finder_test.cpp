#include "platform/appcast/update_bundle_finder.h"
#include "core/async/cancellation_error.h"
#include "core/async/cancellation_source.h"
#include "install_workshop.h"
#include "platform/appcast/bundle_manifest.h"
#include "platform/appcast/update_install_error.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

class UpdateBundleFinderTest : public testing::Test {
protected:
    QString extracted(const QString& path) const { return folder.filePath(path); }
    FoundUpdate find() const {
        return findUpdateBundle(folder.path(), QStringLiteral("Foo.app"), installed,
                                CancellationToken());
    }

    QTemporaryDir folder;
    const BundleManifest installed{.identifier = QStringLiteral("org.example.foo"),
                                   .version = QStringLiteral("100"),
                                   .name = QStringLiteral("Foo Pro")};
};

TEST_F(UpdateBundleFinderTest, FindsBundleNamedLikeInstalledOne) {
    writeBundle(extracted(QStringLiteral("Foo.app")), {});
    const FoundUpdate found = find();
    EXPECT_EQ(found.kind, FoundUpdate::Kind::application);
    EXPECT_EQ(found.path, extracted(QStringLiteral("Foo.app")));
}

TEST_F(UpdateBundleFinderTest, FindsBundleInsideSubfolder) {
    writeBundle(extracted(QStringLiteral("Foo 2.0/Foo.app")), {});
    EXPECT_EQ(find().path, extracted(QStringLiteral("Foo 2.0/Foo.app")));
}

TEST_F(UpdateBundleFinderTest, FindsBundleNamedAfterBundleName) {
    writeBundle(extracted(QStringLiteral("Foo Pro.app")), {});
    EXPECT_EQ(find().path, extracted(QStringLiteral("Foo Pro.app")));
}

TEST_F(UpdateBundleFinderTest, FindsRenamedBundleByIdentifier) {
    writeBundle(extracted(QStringLiteral("Bar.app")), {.identifier = QStringLiteral("org.other")});
    writeBundle(extracted(QStringLiteral("FooNext.app")), {});
    EXPECT_EQ(find().path, extracted(QStringLiteral("FooNext.app")));
}

TEST_F(UpdateBundleFinderTest, NeverFollowsLinks) {
    QTemporaryDir elsewhere;
    writeBundle(elsewhere.filePath(QStringLiteral("Foo.app")), {});
    QFile::link(elsewhere.filePath(QStringLiteral("Foo.app")),
                extracted(QStringLiteral("Foo.app")));
    QFile::link(elsewhere.path(), extracted(QStringLiteral("folder")));
    try {
        find();
        FAIL() << "a bundle was found through a link";
    } catch (const UpdateInstallError& error) {
        EXPECT_EQ(error.kind(), UpdateInstallError::Kind::missingUpdate);
        EXPECT_EQ(error.code(), 4002);
    }
}

TEST_F(UpdateBundleFinderTest, ReportsPackageNamedLikeInstalledBundle) {
    writeTestFile(extracted(QStringLiteral("Foo.pkg")), "package");
    const FoundUpdate found = find();
    EXPECT_EQ(found.kind, FoundUpdate::Kind::package);
    EXPECT_EQ(found.path, extracted(QStringLiteral("Foo.pkg")));
}

TEST_F(UpdateBundleFinderTest, FallsBackToAnyPackage) {
    writeTestFile(extracted(QStringLiteral("Installer.mpkg")), "package");
    writeTestFile(extracted(QStringLiteral("readme.txt")), "read me");
    EXPECT_EQ(find().kind, FoundUpdate::Kind::package);
}

TEST_F(UpdateBundleFinderTest, PrefersBundleOverOtherPackage) {
    writeTestFile(extracted(QStringLiteral("A Installer.pkg")), "package");
    writeBundle(extracted(QStringLiteral("Foo.app")), {});
    EXPECT_EQ(find().kind, FoundUpdate::Kind::application);
}

TEST_F(UpdateBundleFinderTest, ReportsArchiveWithoutBundle) {
    writeTestFile(extracted(QStringLiteral("readme.txt")), "read me");
    writeBundle(extracted(QStringLiteral("Other.app")),
                {.identifier = QStringLiteral("org.other")});
    EXPECT_THROW(find(), UpdateInstallError);
}

TEST_F(UpdateBundleFinderTest, StopsWhenCancelled) {
    writeBundle(extracted(QStringLiteral("Foo.app")), {});
    CancellationSource cancellation;
    cancellation.cancel();
    EXPECT_THROW(
        findUpdateBundle(folder.path(), QStringLiteral("Foo.app"), installed, cancellation.token()),
        CancellationError);
}

}  // namespace
