#include "cli_fixture.h"

#include "support/test_paths.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

QString sharedCatalogue() {
    return sharedDir() + QStringLiteral("/data/catalogue.json");
}

// Runs `match` on the copy of the fixture bundles.
class MatchCommand : public CliFixture {
protected:
    CliResult match(const QStringList& options) const {
        return run(QStringList{QStringLiteral("match")} + options);
    }

    // The JSON of a match against `catalogue` with `options` added.
    QJsonArray matchJson(const QStringList& options = {},
                         const QString& catalogue = sharedCatalogue()) const {
        return jsonOf(
            match(QStringList{QStringLiteral("--applications"), applications(),
                              QStringLiteral("--catalogue"), catalogue, QStringLiteral("--json")} +
                  options));
    }

    QString writeFile(const QString& name, const QByteArray& content) const {
        const QString path = folder.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return path;
    }

    static QStringList optionNames(const QJsonObject& record) {
        QStringList names;
        for (const QJsonValue& option : record[QStringLiteral("caskOptions")].toArray()) {
            names.append(option[QStringLiteral("name")].toString());
        }
        return names;
    }

    // A failed run prints its reason alone and nothing on standard output.
    static void expectFailure(const CliResult& result, int exitCode, const QByteArray& reason) {
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_TRUE(result.output.isEmpty());
        EXPECT_TRUE(result.errors.startsWith("tarnel-cli match: ")) << result.errors.toStdString();
        EXPECT_TRUE(result.errors.contains(reason)) << result.errors.toStdString();
    }
};

QJsonObject namedConfidence(const QString& name, double confidence) {
    return QJsonObject{{QStringLiteral("name"), name}, {QStringLiteral("confidence"), confidence}};
}

}  // namespace

TEST_F(MatchCommand, RanksTheRectangleCaskFirstForRectangle) {
    const QJsonObject rectangle = record(matchJson(), QStringLiteral("Rectangle"));
    ASSERT_FALSE(rectangle[QStringLiteral("caskOptions")].toArray().isEmpty());
    // The cask installs into the folder being matched, at the bundle's own path.
    EXPECT_EQ(rectangle[QStringLiteral("caskOptions")][0].toObject(),
              namedConfidence(QStringLiteral("rectangle"), 1.0));
}

TEST_F(MatchCommand, GivesNoOptionsToAnApplicationWithoutACask) {
    const QJsonObject codeEdit = record(matchJson(), QStringLiteral("CodeEdit"));
    EXPECT_TRUE(codeEdit[QStringLiteral("caskOptions")].toArray().isEmpty());
    EXPECT_TRUE(codeEdit[QStringLiteral("adoptedCask")].isNull());
}

TEST_F(MatchCommand, GivesNoInstalledCaskWithoutInstalledTokens) {
    for (const QJsonValue& value : matchJson()) {
        EXPECT_TRUE(value[QStringLiteral("adoptedCask")].isNull())
            << value[QStringLiteral("name")].toString().toStdString();
    }
}

TEST_F(MatchCommand, PicksTheInstalledCaskOfEachApplication) {
    const QJsonArray records =
        matchJson({QStringLiteral("--installed"), QStringLiteral("stats,rectangle")});
    EXPECT_EQ(record(records, QStringLiteral("Rectangle"))[QStringLiteral("adoptedCask")],
              namedConfidence(QStringLiteral("rectangle"), 1.0));
    EXPECT_EQ(record(records, QStringLiteral("Stats"))[QStringLiteral("adoptedCask")],
              namedConfidence(QStringLiteral("stats"), 1.0));
    EXPECT_TRUE(
        record(records, QStringLiteral("Amethyst"))[QStringLiteral("adoptedCask")].isNull());
}

TEST_F(MatchCommand, KeepsTheOptionsOfAnApplicationWithAnInstalledCask) {
    const QJsonObject rectangle =
        record(matchJson({QStringLiteral("--installed"), QStringLiteral("rectangle")}),
               QStringLiteral("Rectangle"));
    EXPECT_EQ(optionNames(rectangle).value(0), QStringLiteral("rectangle"));
}

TEST_F(MatchCommand, IgnoresBlankAndUnknownInstalledTokens) {
    const QJsonArray records =
        matchJson({QStringLiteral("--installed"), QStringLiteral(" , no-such-cask, rectangle ,")});
    EXPECT_EQ(
        record(records,
               QStringLiteral("Rectangle"))[QStringLiteral("adoptedCask")][QStringLiteral("name")],
        QStringLiteral("rectangle"));
}

TEST_F(MatchCommand, FindsAnInstalledCaskThatIsDeprecatedButNeverOffersIt) {
    QFile published(sharedDir() + QStringLiteral("/data/casks/rectangle.json"));
    ASSERT_TRUE(published.open(QIODevice::ReadOnly));
    QJsonObject rectangle = QJsonDocument::fromJson(published.readAll()).object();
    rectangle.insert(QStringLiteral("deprecated"), true);
    const QString catalogue =
        writeFile(QStringLiteral("deprecated.json"), QJsonDocument(QJsonArray{rectangle}).toJson());

    const QJsonObject matched =
        record(matchJson({QStringLiteral("--installed"), QStringLiteral("rectangle")}, catalogue),
               QStringLiteral("Rectangle"));
    EXPECT_TRUE(matched[QStringLiteral("caskOptions")].toArray().isEmpty());
    EXPECT_EQ(matched[QStringLiteral("adoptedCask")][QStringLiteral("name")],
              QStringLiteral("rectangle"));
}

TEST_F(MatchCommand, RanksEveryApplicationsOptionsMostConfidentFirst) {
    for (const QJsonValue& value : matchJson()) {
        const QJsonArray options = value[QStringLiteral("caskOptions")].toArray();
        EXPECT_LE(options.size(), 5);
        for (qsizetype index = 1; index < options.size(); ++index) {
            EXPECT_LE(options[index][QStringLiteral("confidence")].toDouble(),
                      options[0][QStringLiteral("confidence")].toDouble());
        }
    }
}

TEST_F(MatchCommand, PrintsEveryBundleWithTheScanKeysAndTheMatch) {
    const QStringList expected{QStringLiteral("adoptedCask"),  QStringLiteral("bundleIdentifier"),
                               QStringLiteral("bundlePath"),   QStringLiteral("bundleVersion"),
                               QStringLiteral("caskOptions"),  QStringLiteral("displayName"),
                               QStringLiteral("id"),           QStringLiteral("name"),
                               QStringLiteral("shortVersion"), QStringLiteral("sparkleInfo")};
    const QJsonArray records = matchJson();
    EXPECT_EQ(records.size(), 21);
    for (const QJsonValue& value : records) {
        EXPECT_EQ(value.toObject().keys(), expected);
    }
}

TEST_F(MatchCommand, PrintsATableByDefault) {
    const CliResult result =
        match({QStringLiteral("--applications"), applications(), QStringLiteral("--catalogue"),
               sharedCatalogue(), QStringLiteral("--installed"), QStringLiteral("rectangle")});
    EXPECT_EQ(result.exitCode, 0) << result.errors.toStdString();
    EXPECT_TRUE(result.errors.isEmpty()) << result.errors.toStdString();
    const QStringList lines = QString::fromUtf8(result.output).split(u'\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 22);
    EXPECT_TRUE(lines.front().startsWith(QStringLiteral("Name ")));
    EXPECT_TRUE(lines.front().contains(QStringLiteral("Installed cask")));
    EXPECT_TRUE(lines.front().endsWith(QStringLiteral("Cask options")));
    const QStringList rectangle = lines.filter(QStringLiteral("Rectangle "));
    ASSERT_EQ(rectangle.size(), 1);
    EXPECT_EQ(rectangle.first().simplified(),
              QStringLiteral("Rectangle rectangle (100%) rectangle (100%)"));
    const QStringList codeEdit = lines.filter(QStringLiteral("CodeEdit "));
    ASSERT_EQ(codeEdit.size(), 1);
    EXPECT_EQ(codeEdit.first().simplified(), QStringLiteral("CodeEdit - -"));
}

TEST_F(MatchCommand, FailsWithAMessageWhenTheFolderIsMissing) {
    const QString missing = folder.filePath(QStringLiteral("Missing"));
    expectFailure(match({QStringLiteral("--applications"), missing, QStringLiteral("--catalogue"),
                         sharedCatalogue()}),
                  1,
                  QStringLiteral("cannot read the applications folder %1: No such file or "
                                 "directory\n")
                      .arg(missing)
                      .toUtf8());
}

TEST_F(MatchCommand, FailsWithAMessageWhenTheCatalogueIsMissing) {
    const QString missing = folder.filePath(QStringLiteral("missing.json"));
    expectFailure(match({QStringLiteral("--applications"), applications(),
                         QStringLiteral("--catalogue"), missing}),
                  1, QStringLiteral("cannot read the catalogue %1: ").arg(missing).toUtf8());
}

TEST_F(MatchCommand, FailsWithAMessageWhenTheCatalogueIsAFolder) {
    expectFailure(match({QStringLiteral("--applications"), applications(),
                         QStringLiteral("--catalogue"), folder.path()}),
                  1, QStringLiteral("cannot read the catalogue %1: ").arg(folder.path()).toUtf8());
}

TEST_F(MatchCommand, FailsWithAMessageWhenTheCatalogueIsNotJson) {
    const QString broken = writeFile(QStringLiteral("broken.json"), "[{\"token\": \"a\", ");
    expectFailure(match({QStringLiteral("--applications"), applications(),
                         QStringLiteral("--catalogue"), broken}),
                  1, QStringLiteral("the catalogue %1 is malformed: ").arg(broken).toUtf8());
}

TEST_F(MatchCommand, FailsWithAMessageWhenTheCatalogueIsNoArray) {
    const QString object = writeFile(QStringLiteral("object.json"), "{\"casks\": []}");
    expectFailure(match({QStringLiteral("--applications"), applications(),
                         QStringLiteral("--catalogue"), object}),
                  1,
                  QStringLiteral("the catalogue %1 is malformed: Invalid response from Homebrew "
                                 "API\n")
                      .arg(object)
                      .toUtf8());
}

TEST_F(MatchCommand, MatchesTheSandboxsApplicationsFolderByDefault) {
    const QString root = folder.filePath(QStringLiteral("mac"));
    const CliResult created = runCli(toolPath(QStringLiteral("tarnel-sandbox")),
                                     {QStringLiteral("create"), root}, folder.path());
    ASSERT_EQ(created.exitCode, 0) << created.errors.toStdString();

    const QJsonArray records =
        jsonOf(run({QStringLiteral("--sandbox"), root, QStringLiteral("match"),
                    QStringLiteral("--catalogue"), sharedCatalogue(), QStringLiteral("--json")}));

    const QJsonObject amethyst = record(records, QStringLiteral("Amethyst"));
    EXPECT_EQ(amethyst[QStringLiteral("bundlePath")].toString(),
              QFileInfo(root).canonicalFilePath() + QStringLiteral("/Applications/Amethyst.app"));
    EXPECT_EQ(optionNames(amethyst), QStringList{QStringLiteral("amethyst")});
}

TEST_F(MatchCommand, RejectsAnUnknownOption) {
    expectFailure(
        match({QStringLiteral("--applications"), applications(), QStringLiteral("--bogus")}), 2,
        "bogus");
}

TEST_F(MatchCommand, RejectsAnArgumentThatIsNoOption) {
    expectFailure(
        match({QStringLiteral("--applications"), applications(), QStringLiteral("extra")}), 2,
        "Unexpected argument 'extra'.");
}

TEST_F(MatchCommand, NamesItsOptionsInItsUsage) {
    const CliResult result = match({QStringLiteral("--help")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.output.contains(
        "match [--applications DIR] [--catalogue FILE] [--installed TOKEN,...] [--json]"));
}
