#include "cli_fixture.h"

#include "core/file_name_encoding.h"
#include "support/test_paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace {

// Runs `scan-bundles` on the copy of the fixture bundles.
class ScanBundlesCommand : public CliFixture {
protected:
    CliResult scan(QStringList options) const {
        return run(QStringList{QStringLiteral("scan-bundles")} + options);
    }

    QJsonArray scanJson(QStringList options = {}) const {
        return jsonOf(scan(QStringList{QStringLiteral("--applications"), applications(),
                                       QStringLiteral("--json")} +
                           options));
    }
};

// Lays out a bundle at the native path `bundle` with the given Info.plist.
// The warnings and errors among the log lines: the services log what they
// load as they start, and reading the bundles logs only what went wrong.
QByteArray warningsAndErrors(const QByteArray& log) {
    QByteArray kept;
    for (const QByteArray& line : log.split('\n')) {
        if (line.startsWith("[WARNING] ") || line.startsWith("[ERROR] ")) {
            kept += line + '\n';
        }
    }
    return kept;
}

void placeBundle(const QByteArray& bundle, const QByteArray& infoPlist) {
    ASSERT_EQ(mkdir(bundle.constData(), 0755), 0);
    ASSERT_EQ(mkdir((bundle + "/Contents").constData(), 0755), 0);
    std::FILE* file = std::fopen((bundle + "/Contents/Info.plist").constData(), "wb");
    ASSERT_TRUE(file);
    std::fwrite(infoPlist.constData(), 1, infoPlist.size(), file);
    std::fclose(file);
}

// The temporary folder cannot remove what Qt cannot name, so a bundle whose
// name is not UTF-8 is taken away here.
void removeBundle(const QByteArray& bundle) {
    unlink((bundle + "/Contents/Info.plist").constData());
    rmdir((bundle + "/Contents").constData());
    rmdir(bundle.constData());
}

QByteArray infoPlistOf(const QString& fixture) {
    QFile file(fixturesDir() + QStringLiteral("/bundles/%1.app/Contents/Info.plist").arg(fixture));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

QStringList fixtureNames() {
    QStringList names;
    const QDir fixtures(fixturesDir() + QStringLiteral("/bundles"));
    for (const QString& fileName : fixtures.entryList({QStringLiteral("*.app")}, QDir::Dirs)) {
        names.append(fileName.chopped(4));
    }
    // The scan sorts each listing by the bytes of the names.
    names.sort(Qt::CaseSensitive);
    return names;
}

}  // namespace

TEST_F(ScanBundlesCommand, PrintsEveryFixtureBundleAsAJsonRecord) {
    const QJsonArray records = scanJson();

    QStringList names;
    for (const QJsonValue& value : records) {
        names.append(value[QStringLiteral("name")].toString());
    }
    EXPECT_EQ(names.join(u','), fixtureNames().join(u','));
}

TEST_F(ScanBundlesCommand, NamesEachJsonFieldAfterTheRecord) {
    const QStringList expected{QStringLiteral("bundleIdentifier"),
                               QStringLiteral("bundlePath"),
                               QStringLiteral("bundleVersion"),
                               QStringLiteral("displayName"),
                               QStringLiteral("id"),
                               QStringLiteral("name"),
                               QStringLiteral("shortVersion"),
                               QStringLiteral("sparkleInfo")};
    for (const QJsonValue& value : scanJson()) {
        EXPECT_EQ(value.toObject().keys(), expected);
    }
}

TEST_F(ScanBundlesCommand, GivesTheFactsOfABundleWithAFeedAndKey) {
    const QJsonObject ice = record(scanJson(), QStringLiteral("Ice"));

    EXPECT_EQ(ice[QStringLiteral("displayName")], QStringLiteral("Ice"));
    EXPECT_EQ(ice[QStringLiteral("bundlePath")], applications() + QStringLiteral("/Ice.app"));
    EXPECT_EQ(ice[QStringLiteral("bundleIdentifier")], QStringLiteral("com.jordanbaird.Ice"));
    EXPECT_EQ(ice[QStringLiteral("bundleVersion")], QStringLiteral("1112"));
    EXPECT_EQ(ice[QStringLiteral("shortVersion")], QStringLiteral("0.11.12"));
    EXPECT_EQ(
        ice[QStringLiteral("sparkleInfo")].toObject(),
        (QJsonObject{{QStringLiteral("feedURL"),
                      QStringLiteral("https://jordanbaird.github.io/ice-releases/appcast.xml")},
                     {QStringLiteral("publicKey"),
                      QStringLiteral("3nfIGMOD8DALPE8vIdFo2tUOIVc2MVbzhc+2J9JLn+Q=")},
                     {QStringLiteral("automaticallyUpdate"), false}}));
}

TEST_F(ScanBundlesCommand, GivesANullKeyForAFeedWithoutOne) {
    const QJsonObject amethyst = record(scanJson(), QStringLiteral("Amethyst"));

    EXPECT_TRUE(amethyst[QStringLiteral("sparkleInfo")][QStringLiteral("publicKey")].isNull());
}

TEST_F(ScanBundlesCommand, GivesNullSparkleInfoWithoutAFeed) {
    const QJsonObject codeEdit = record(scanJson(), QStringLiteral("CodeEdit"));

    EXPECT_TRUE(codeEdit[QStringLiteral("sparkleInfo")].isNull());
}

TEST_F(ScanBundlesCommand, GivesEachRecordItsOwnUppercaseUuid) {
    static const QRegularExpression uuid(
        QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    QSet<QString> ids;
    const QJsonArray records = scanJson();
    for (const QJsonValue& value : records) {
        const QString id = value[QStringLiteral("id")].toString();
        EXPECT_TRUE(uuid.match(id).hasMatch()) << id.toStdString();
        ids.insert(id);
    }
    EXPECT_EQ(ids.size(), records.size());
}

TEST_F(ScanBundlesCommand, PrintsATableByDefault) {
    const auto result = scan({QStringLiteral("--applications"), applications()});

    EXPECT_EQ(result.exitCode, 0);
    const QStringList lines = QString::fromUtf8(result.output).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), fixtureNames().size() + 1);
    EXPECT_TRUE(lines.front().startsWith(QStringLiteral("Name ")));
    EXPECT_TRUE(lines.front().contains(QStringLiteral("Sparkle key")));
    const QString iceLine = lines.filter(QStringLiteral("com.jordanbaird.Ice")).value(0);
    EXPECT_TRUE(iceLine.contains(QStringLiteral("3nfIGMOD8DALPE8vIdFo2tUOIVc2MVbzhc+2J9JLn+Q=")));
    EXPECT_TRUE(result.errors.isEmpty());
}

TEST_F(ScanBundlesCommand, KeepsLogLinesOffStandardErrorWithoutVerbose) {
    QDir().mkpath(applications() + QStringLiteral("/Broken.app/Contents"));

    const auto result =
        scan({QStringLiteral("--applications"), applications(), QStringLiteral("--json")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
}

TEST_F(ScanBundlesCommand, WritesLogLinesToStandardErrorWhenVerbose) {
    QDir().mkpath(applications() + QStringLiteral("/Broken.app/Contents"));

    const auto result = scan({QStringLiteral("--applications"), applications(),
                              QStringLiteral("--json"), QStringLiteral("--verbose")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(warningsAndErrors(result.errors),
              QStringLiteral("[WARNING] No Info.plist found at %1/Broken.app/Contents/Info.plist\n")
                  .arg(applications())
                  .toUtf8());
    EXPECT_EQ(QJsonDocument::fromJson(result.output).array().size(), fixtureNames().size());
}

TEST_F(ScanBundlesCommand, ReadsABundleWhoseNameIsNotUtf8) {
    const QByteArray bundle = QFile::encodeName(applications()) + "/Caf\xff.app";
    placeBundle(bundle, infoPlistOf(QStringLiteral("Ice")));

    const QJsonArray records = scanJson();

    // The byte stands in the name as the lone surrogate U+DCFF, which a
    // script of the JSON can turn back into the byte.
    const QString name = QStringLiteral("Caf") + QChar(0xDCFF);
    const QJsonObject record = this->record(records, name);
    EXPECT_EQ(record[QStringLiteral("bundleIdentifier")], QStringLiteral("com.jordanbaird.Ice"));
    const QString bundlePath = record[QStringLiteral("bundlePath")].toString();
    EXPECT_EQ(bundlePath, applications() + u'/' + name + QStringLiteral(".app"));
    EXPECT_EQ(tarnel::encodeFileName(bundlePath), bundle);
    EXPECT_EQ(records.size(), fixtureNames().size() + 1);
    removeBundle(bundle);
}

TEST_F(ScanBundlesCommand, ShowsTheByteOfANameThatIsNotUtf8EscapedInTheTable) {
    const QByteArray bundle = QFile::encodeName(applications()) + "/Caf\xff.app";
    placeBundle(bundle, infoPlistOf(QStringLiteral("Ice")));

    const auto result = scan({QStringLiteral("--applications"), applications()});

    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_TRUE(result.output.contains(R"(Caf\xFF )")) << result.output.toStdString();
    EXPECT_TRUE(result.output.isValidUtf8());
    removeBundle(bundle);
}

TEST_F(ScanBundlesCommand, GivesAbsoluteBundlePathsForARelativeFolder) {
    const QString relative = QDir::current().relativeFilePath(applications());
    ASSERT_TRUE(QDir::isRelativePath(relative));

    const QJsonArray records =
        jsonOf(scan({QStringLiteral("--applications"), relative, QStringLiteral("--json")}));

    ASSERT_EQ(records.size(), fixtureNames().size());
    for (const QJsonValue& value : records) {
        EXPECT_EQ(value[QStringLiteral("bundlePath")].toString(),
                  applications() + u'/' + value[QStringLiteral("name")].toString() +
                      QStringLiteral(".app"));
    }
}

// A hostile bundle names itself with controls that would clear the screen,
// retitle the terminal or forge a row, and declares such a version.
TEST_F(ScanBundlesCommand, ShowsControlCharactersEscapedInTheTableAndExactInJson) {
    const QString name = QStringLiteral("Evil\x1b]0;owned\x07\r\nForged\t\x7f");
    const QString version = QStringLiteral("1\u0085\u009b2J\u202e3\u2028");
    placeBundle(QFile::encodeName(applications() + u'/' + name + QStringLiteral(".app")),
                QStringLiteral(R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
	<key>CFBundleIdentifier</key>
	<string>org.example.evil</string>
	<key>CFBundleShortVersionString</key>
	<string>%1</string>
</dict>
</plist>
)")
                    .arg(version)
                    .toUtf8());

    const auto table = scan({QStringLiteral("--applications"), applications()});

    EXPECT_EQ(table.exitCode, 0) << table.errors.toStdString();
    const QString shown = QString::fromUtf8(table.output);
    EXPECT_TRUE(shown.contains(QStringLiteral(R"(Evil\x1B]0;owned\x07\r\nForged\t\x7F )")))
        << table.output.toStdString();
    EXPECT_TRUE(shown.contains(QStringLiteral(R"(1\u{0085}\u{009B}2J\u{202E}3\u{2028})")))
        << table.output.toStdString();
    EXPECT_EQ(shown.count(u'\n'), fixtureNames().size() + 2);
    for (const QChar character : shown) {
        EXPECT_TRUE(character == u'\n' || character.isPrint()) << int{character.unicode()};
    }

    const QJsonObject record = this->record(scanJson(), name);
    EXPECT_EQ(record[QStringLiteral("shortVersion")], version);
}

TEST_F(ScanBundlesCommand, ShowsControlCharactersEscapedInLogLines) {
    // A carriage return would let the rest of the name overwrite the line.
    QDir().mkpath(applications() + QStringLiteral("/Evil\x1b[2J\r[ERROR] forged.app/Contents"));

    const auto result = scan({QStringLiteral("--applications"), applications(),
                              QStringLiteral("--json"), QStringLiteral("--verbose")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(
        QString::fromUtf8(warningsAndErrors(result.errors)),
        QStringLiteral(
            R"([WARNING] No Info.plist found at %1/Evil\x1B[2J\r[ERROR] forged.app/Contents/Info.plist)"
            "\n")
            .arg(applications()));
}

// An Info.plist of 200,000 nested arrays once overflowed the stack of the
// thread that read it.
TEST_F(ScanBundlesCommand, SkipsADeeplyNestedInfoPlistWithAWarningAndListsTheRest) {
    const int depth = 200000;
    QFile infoPlist(applications() + QStringLiteral("/Deep.app/Contents/Info.plist"));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(infoPlist).path()));
    ASSERT_TRUE(infoPlist.open(QIODevice::WriteOnly));
    infoPlist.write("<plist version=\"1.0\">" + QByteArray("<array>").repeated(depth) +
                    QByteArray("</array>").repeated(depth) + "</plist>");
    infoPlist.close();

    const auto result = scan({QStringLiteral("--applications"), applications(),
                              QStringLiteral("--json"), QStringLiteral("--verbose")});

    EXPECT_EQ(warningsAndErrors(result.errors),
              "[WARNING] Failed to read Info.plist for Deep.app\n");
    QStringList names;
    for (const QJsonValue& record : jsonOf(result)) {
        names.append(record[QStringLiteral("name")].toString());
    }
    EXPECT_EQ(names, fixtureNames());
}

TEST_F(ScanBundlesCommand, FailsWithAMessageWhenTheFolderIsMissing) {
    const QString missing = folder.filePath(QStringLiteral("Missing"));

    const auto result = scan({QStringLiteral("--applications"), missing, QStringLiteral("--json")});

    EXPECT_NE(result.exitCode, 0);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_EQ(result.errors, QStringLiteral("tarnel-cli scan-bundles: cannot read the applications "
                                            "folder %1: No such file or directory\n")
                                 .arg(missing)
                                 .toUtf8());
}

// Tests run as root, for whom permissions stop no listing: a link that loops
// is a folder that cannot be listed.
TEST_F(ScanBundlesCommand, FailsWithAMessageWhenTheFolderCannotBeListed) {
    const QString loop = folder.filePath(QStringLiteral("Loop"));
    ASSERT_TRUE(QFile::link(loop, loop));

    const auto result = scan({QStringLiteral("--applications"), loop});

    EXPECT_NE(result.exitCode, 0);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.contains("Too many levels of symbolic links"))
        << result.errors.toStdString();
}

TEST_F(ScanBundlesCommand, RejectsAnUnknownOption) {
    const auto result = scan({QStringLiteral("--bogus")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.contains("bogus"));
}

TEST_F(ScanBundlesCommand, RejectsAnArgumentThatIsNoOption) {
    const auto result = scan({QStringLiteral("extra")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.errors.contains("extra"));
}

TEST(TarnelCli, PrintsUsageAndFailsWithoutACommand) {
    QTemporaryDir home;
    const CliResult result = runCli(toolPath(QStringLiteral("tarnel-cli")), {}, home.path());

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.output.isEmpty());
    EXPECT_TRUE(result.errors.contains("\nUsage: tarnel-cli")) << result.errors.toStdString();
}
