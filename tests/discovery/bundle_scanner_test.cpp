#include "bundle_workshop.h"

#include "core/file_name_encoding.h"
#include "discovery/bundle_scanner.h"
#include "discovery/directory_listing_error.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

using namespace tarnel;

namespace {

QString canonical(const QString& path) {
    return QFileInfo(path).canonicalFilePath();
}

// A folder whose name is raw bytes, which a QString cannot always hold, so
// that the temporary folder could not remove it either.
struct RawFolder {
    explicit RawFolder(QByteArray folderPath) : path(std::move(folderPath)) {
        if (mkdir(path.constData(), 0755) != 0) {
            throw std::runtime_error("cannot make a raw folder");
        }
    }
    ~RawFolder() { rmdir(path.constData()); }
    RawFolder(const RawFolder&) = delete;
    RawFolder& operator=(const RawFolder&) = delete;

    QByteArray path;
};

}  // namespace

TEST(BundleScanner, FindsBundlesAtTheTopInASubfolderAndInASubfolderOfThat) {
    BundleWorkshop workshop;
    const QString top = workshop.addFixture(QStringLiteral("Top.app"));
    const QString second = workshop.addFixture(QStringLiteral("Tools/Second.app"));
    const QString third = workshop.addFixture(QStringLiteral("Tools/More/Third.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), (QStringList{third, second, top}));
}

TEST(BundleScanner, DoesNotFindABundleThreeFoldersDown) {
    BundleWorkshop workshop;
    workshop.addFixture(QStringLiteral("One/Two/Three/Deep.app"));

    EXPECT_TRUE(scanApplicationBundles(workshop.root()).isEmpty());
}

TEST(BundleScanner, DoesNotFindABundleFourFoldersDown) {
    BundleWorkshop workshop;
    workshop.addFixture(QStringLiteral("One/Two/Three/Four/Deeper.app"));

    EXPECT_TRUE(scanApplicationBundles(workshop.root()).isEmpty());
}

TEST(BundleScanner, DoesNotLookInsideABundle) {
    BundleWorkshop workshop;
    const QString outer = workshop.addFixture(QStringLiteral("Outer.app"));
    workshop.addFixture(QStringLiteral("Outer.app/Contents/Helpers/Inner.app"));
    workshop.addFixture(QStringLiteral("Outer.app/Nested.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{outer});
}

TEST(BundleScanner, GivesTheTargetPathOfALinkToABundleElsewhere) {
    BundleWorkshop workshop;
    const QString target = workshop.addFixture(workshop.elsewhere() + QStringLiteral("/Real.app"));
    workshop.addLink(QStringLiteral("Alias.app"), target);

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{canonical(target)});
}

TEST(BundleScanner, TestsTheExtensionOfTheLinkTargetNotOfTheLink) {
    BundleWorkshop workshop;
    const QString target = workshop.addFixture(workshop.elsewhere() + QStringLiteral("/Real.app"));
    workshop.addLink(QStringLiteral("Shortcut"), target);

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{canonical(target)});
}

TEST(BundleScanner, ListsALinkToAFolderAsThatFolder) {
    BundleWorkshop workshop;
    const QString folder = workshop.addFolder(workshop.elsewhere() + QStringLiteral("/Suite"));
    workshop.addFixture(folder + QStringLiteral("/Writer.app"));
    workshop.addLink(QStringLiteral("Suite"), folder);

    EXPECT_EQ(scanApplicationBundles(workshop.root()),
              QStringList{canonical(folder) + QStringLiteral("/Writer.app")});
}

TEST(BundleScanner, GivesABundleTwiceWhenReachedByItsPathAndThroughALink) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Real.app"));
    workshop.addLink(QStringLiteral("Alias.app"), bundle);

    EXPECT_EQ(scanApplicationBundles(workshop.root()), (QStringList{canonical(bundle), bundle}));
}

TEST(BundleScanner, IncludesHiddenBundlesAndHiddenFolders) {
    BundleWorkshop workshop;
    const QString hiddenBundle = workshop.addFixture(QStringLiteral(".Hidden.app"));
    const QString inHiddenFolder = workshop.addFixture(QStringLiteral(".hidden/Tool.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), (QStringList{hiddenBundle, inHiddenFolder}));
}

TEST(BundleScanner, TestsTheExtensionCaseSensitively) {
    BundleWorkshop workshop;
    workshop.addFixture(QStringLiteral("Upper.APP"));
    workshop.addFixture(QStringLiteral("Mixed.App"));
    const QString exact = workshop.addFixture(QStringLiteral("Exact.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{exact});
}

TEST(BundleScanner, IgnoresFilesThatAreNotBundles) {
    BundleWorkshop workshop;
    writeFile(workshop.pathOf(QStringLiteral("notes.txt")), "text");
    writeFile(workshop.pathOf(QStringLiteral("Folder/archive.zip")), "zip");

    EXPECT_TRUE(scanApplicationBundles(workshop.root()).isEmpty());
}

TEST(BundleScanner, OrdersEachListingByNameDepthFirst) {
    BundleWorkshop workshop;
    const QString b = workshop.addFixture(QStringLiteral("B.app"));
    const QString inA = workshop.addFixture(QStringLiteral("A/Z.app"));
    const QString c = workshop.addFixture(QStringLiteral("C.app"));
    const QString a = workshop.addFixture(QStringLiteral("A.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), (QStringList{inA, a, b, c}));
}

TEST(BundleScanner, ThrowsWithThePathAndReasonWhenTheFolderIsMissing) {
    BundleWorkshop workshop;
    const QString missing = workshop.pathOf(QStringLiteral("Missing"));
    try {
        scanApplicationBundles(missing);
        FAIL() << "no error";
    } catch (const DirectoryListingError& error) {
        EXPECT_EQ(error.path(), missing);
        EXPECT_EQ(error.reason(), QStringLiteral("No such file or directory"));
    }
}

TEST(BundleScanner, ThrowsWhenTheFolderIsAFile) {
    BundleWorkshop workshop;
    const QString file = workshop.pathOf(QStringLiteral("file"));
    writeFile(file, "x");

    EXPECT_THROW(scanApplicationBundles(file), DirectoryListingError);
}

// Tests run as root, for whom permissions stop no listing, so a folder that
// cannot be listed is a symbolic link that loops.
TEST(BundleScanner, ThrowsWhenTheFolderIsALinkThatLoops) {
    BundleWorkshop workshop;
    workshop.addLink(QStringLiteral("Loop"), workshop.pathOf(QStringLiteral("Loop")));

    EXPECT_THROW(scanApplicationBundles(workshop.pathOf(QStringLiteral("Loop"))),
                 DirectoryListingError);
}

// Tests run as root, for whom permissions stop no listing: these subfolders
// cannot be listed because they are a link loop and a link to nothing.
TEST(BundleScanner, PassesOverSubfoldersThatCannotBeListed) {
    BundleWorkshop workshop;
    workshop.addLink(QStringLiteral("Loop/Inner"), workshop.pathOf(QStringLiteral("Loop/Inner")));
    workshop.addLink(QStringLiteral("Gone"), workshop.elsewhere() + QStringLiteral("/Gone"));
    const QString after = workshop.addFixture(QStringLiteral("Zed.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{after});
}

TEST(BundleScanner, KeepsALinkToAMissingBundleAsItIs) {
    BundleWorkshop workshop;
    workshop.addLink(QStringLiteral("Broken.app"),
                     workshop.elsewhere() + QStringLiteral("/Gone.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root()),
              QStringList{workshop.pathOf(QStringLiteral("Broken.app"))});
}

TEST(BundleScanner, WalksFoldersAndFindsBundlesWhoseNamesAreNotUtf8) {
    BundleWorkshop workshop;
    const QByteArray root = QFile::encodeName(workshop.root());
    const RawFolder folder(root + "/Caf\xe9");
    const RawFolder inside(folder.path + "/Tool.app");
    const RawFolder bundle(root + "/Men\xfc.app");

    const QStringList found = scanApplicationBundles(workshop.root());

    // Each byte that is not UTF-8 stands in the path as its lone surrogate,
    // so that the path opens the very folder again.
    const QStringList expected{
        workshop.pathOf(QStringLiteral("Caf") + QChar(0xDCE9) + QStringLiteral("/Tool.app")),
        workshop.pathOf(QStringLiteral("Men") + QChar(0xDCFC) + QStringLiteral(".app"))};
    EXPECT_EQ(found, expected);
    EXPECT_EQ(encodeFileName(found.at(0)), inside.path);
    EXPECT_EQ(encodeFileName(found.at(1)), bundle.path);
}

TEST(BundleScanner, FindsBundlesWithTheLongestNamesAtEveryLevel) {
    BundleWorkshop workshop;
    const QString longFolder(255, u'f');
    const QString longBundle = QString(251, u'b') + QStringLiteral(".app");
    const QString path = longFolder + u'/' + longFolder + u'/' + longBundle;
    const QString bundle = workshop.addFixture(path);

    EXPECT_EQ(scanApplicationBundles(workshop.root()), QStringList{bundle});
}

TEST(BundleScanner, AcceptsARootWithATrailingSlash) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Top.app"));

    EXPECT_EQ(scanApplicationBundles(workshop.root() + u'/'), QStringList{bundle});
}

TEST(BundleScanner, GivesAbsolutePathsForARelativeRoot) {
    BundleWorkshop workshop;
    const QString bundle = workshop.addFixture(QStringLiteral("Folder/Top.app"));
    const QString relative = QDir::current().relativeFilePath(workshop.root());
    ASSERT_TRUE(QDir::isRelativePath(relative));

    EXPECT_EQ(scanApplicationBundles(relative), QStringList{bundle});
}
