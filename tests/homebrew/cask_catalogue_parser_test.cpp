#include "homebrew/cask_catalogue_parser.h"

#include "catalogue_data.h"
#include "homebrew/cask_error.h"
#include "homebrew/json_syntax_error.h"

#include <QDir>
#include <QUuid>

#include <gtest/gtest.h>

#include <simdjson.h>

using namespace tarnel;
using namespace Qt::StringLiterals;

namespace {

QList<Cask> parse(const QByteArray& json, bool includeDeprecated = false) {
    return parseCaskCatalogue(json, includeDeprecated, QStringLiteral("/Applications"));
}

// One object with the given extra members, its token and version already set.
std::optional<Cask> parseObject(const QByteArray& members, bool includeDeprecated = false) {
    QByteArray object = R"({"token":"sample","version":"1.0")";
    if (!members.isEmpty()) {
        object += ',' + members;
    }
    const QList<Cask> casks = parse('[' + object + "}]", includeDeprecated);
    if (casks.isEmpty()) {
        return std::nullopt;
    }
    return casks.first();
}

Cask parseKept(const QByteArray& members) {
    const auto cask = parseObject(members);
    if (!cask) {
        throw std::runtime_error("the object was dropped");
    }
    return *cask;
}

QList<Cask::Installer> installersOfType(const Cask& cask, InstallerType type) {
    QList<Cask::Installer> matching;
    for (const Cask::Installer& installer : cask.installers) {
        if (installer.type == type) {
            matching.append(installer);
        }
    }
    return matching;
}

template <typename Error>
QString descriptionOfFailure(const QByteArray& json) {
    try {
        parse(json);
    } catch (const Error& error) {
        return error.description();
    }
    return QStringLiteral("no error");
}

}  // namespace

// Required fields and strict typing of the top level.

TEST(CaskCatalogueParser, MapsTokenVersionAndTheOptionalTexts) {
    const Cask cask = parseKept(R"("homepage":"https://example.org/","desc":"Does things")");
    EXPECT_EQ(cask.name, u"sample"_s);
    EXPECT_EQ(cask.version, u"1.0"_s);
    EXPECT_EQ(cask.rawVersion, u"1.0"_s);
    EXPECT_EQ(cask.homepage, u"https://example.org/"_s);
    EXPECT_EQ(cask.description, u"Does things"_s);
    EXPECT_TRUE(cask.warnings.isEmpty());
}

TEST(CaskCatalogueParser, DropsACaskWithoutVersionEvenWithAToken) {
    EXPECT_TRUE(parse(R"([{"token":"no-version","desc":"x"}])").isEmpty());
}

TEST(CaskCatalogueParser, DropsACaskWithoutToken) {
    EXPECT_TRUE(parse(R"([{"version":"1.0"}])").isEmpty());
}

TEST(CaskCatalogueParser, DropsACaskWhoseTokenIsANumber) {
    EXPECT_TRUE(parse(R"([{"token":42,"version":"1.0"}])").isEmpty());
}

TEST(CaskCatalogueParser, DropsACaskWhoseVersionIsANumber) {
    EXPECT_TRUE(parse(R"([{"token":"numeric","version":1.5}])").isEmpty());
}

TEST(CaskCatalogueParser, DropsACaskWhoseVersionIsNull) {
    EXPECT_TRUE(parse(R"([{"token":"nothing","version":null}])").isEmpty());
}

TEST(CaskCatalogueParser, OneMalformedObjectCostsOnlyItself) {
    const QList<Cask> casks = parse(
        R"([{"token":"first","version":"1"},{"token":7,"version":"2"},{"token":"third","version":"3"}])");
    ASSERT_EQ(casks.size(), 2);
    EXPECT_EQ(casks[0].name, u"first"_s);
    EXPECT_EQ(casks[1].name, u"third"_s);
}

TEST(CaskCatalogueParser, TreatsANonStringHomepageOrDescriptionAsAbsent) {
    const Cask cask = parseKept(R"("homepage":["https://example.org/"],"desc":12)");
    EXPECT_FALSE(cask.homepage.has_value());
    EXPECT_FALSE(cask.description.has_value());
}

// Deprecated and disabled casks.

TEST(CaskCatalogueParser, LeavesOutADeprecatedCaskUnlessDeprecatedOnesAreIncluded) {
    const QByteArray members = R"("deprecated":true,"disabled":false)";
    EXPECT_FALSE(parseObject(members, false).has_value());
    EXPECT_TRUE(parseObject(members, true).has_value());
}

TEST(CaskCatalogueParser, LeavesOutADisabledCaskUnlessDeprecatedOnesAreIncluded) {
    const QByteArray members = R"("deprecated":false,"disabled":true)";
    EXPECT_FALSE(parseObject(members, false).has_value());
    EXPECT_TRUE(parseObject(members, true).has_value());
}

TEST(CaskCatalogueParser, ReadsDeprecatedOnlyWhenItIsABoolean) {
    EXPECT_TRUE(parseObject(R"("deprecated":"true","disabled":1)").has_value());
}

TEST(CaskCatalogueParser, KeepsASharedDeprecatedCaskOnlyWithDeprecatedOnesIncluded) {
    const QByteArray bytes = singleCaskCatalogue(u"alacritty.json"_s);
    EXPECT_TRUE(parse(bytes, false).isEmpty());
    EXPECT_EQ(parse(bytes, true).size(), 1);
}

TEST(CaskCatalogueParser, KeepsASharedDisabledCaskOnlyWithDeprecatedOnesIncluded) {
    const QByteArray bytes = singleCaskCatalogue(u"allen-and-heath-midi-control.json"_s);
    EXPECT_TRUE(parse(bytes, false).isEmpty());
    EXPECT_EQ(parse(bytes, true).size(), 1);
}

// The `app` stanza.

TEST(CaskCatalogueParser, AddsAnAppInstallerUnderApplicationsForEachName) {
    const Cask cask = parseKept(R"("artifacts":[{"app":["Foo.app","Foo Helper.app"]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{
                                   {InstallerType::app, u"/Applications/Foo.app"_s},
                                   {InstallerType::app, u"/Applications/Foo Helper.app"_s},
                               }));
    EXPECT_TRUE(cask.bundleIdentifiers.isEmpty());
}

TEST(CaskCatalogueParser, MixedAppArrayAddsNoAppInstallerButFeedsBundleIdentifiers) {
    const Cask cask = parseKept(R"("artifacts":[{"app":["Foo.app",{"target":"Bar.app"}]}])");
    EXPECT_TRUE(installersOfType(cask, InstallerType::app).isEmpty());
    EXPECT_EQ(cask.bundleIdentifiers, QStringList{u"Bar.app"_s});
}

TEST(CaskCatalogueParser, AppArrayWithANumberAddsNoInstaller) {
    const Cask cask = parseKept(R"("artifacts":[{"app":["Foo.app",3]}])");
    EXPECT_TRUE(cask.installers.isEmpty());
}

TEST(CaskCatalogueParser, TakesOnlyTargetsWithADotAndNoSlashAsBundleIdentifiers) {
    const Cask cask = parseKept(
        R"("artifacts":[{"app":[{"target":"Bar.app"},{"target":"Folder/Baz.app"},{"target":"NoDot"},{"target":4},{"other":"Qux.app"}]}])");
    EXPECT_EQ(cask.bundleIdentifiers, QStringList{u"Bar.app"_s});
}

TEST(CaskCatalogueParser, AppThatIsNotAnArrayAddsNothing) {
    const Cask cask = parseKept(R"("artifacts":[{"app":"Foo.app"}])");
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_TRUE(cask.bundleIdentifiers.isEmpty());
}

TEST(CaskCatalogueParser, MapsTheSharedMixedAppArrayAsItsStanzaSays) {
    const Cask cask = sharedCask(u"alex313031-thorium.json"_s);
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_EQ(cask.bundleIdentifiers, QStringList{u"Thorium Browser.app"_s});
}

// Package and manual installers.

TEST(CaskCatalogueParser, PkgKeySetsManualInstallerAndAddsNoInstaller) {
    const Cask cask = parseKept(R"("artifacts":[{"pkg":["Foo.pkg"]}])");
    EXPECT_TRUE(cask.manualInstaller);
    EXPECT_TRUE(cask.installers.isEmpty());
}

TEST(CaskCatalogueParser, PkgKeyCountsWhateverItsValue) {
    EXPECT_TRUE(parseKept(R"("artifacts":[{"pkg":null}])").manualInstaller);
}

TEST(CaskCatalogueParser, InstallerWithManualAddsAManualInstaller) {
    const Cask cask = parseKept(R"("artifacts":[{"installer":[{"manual":"Setup.app"}]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{{InstallerType::manual, u"Setup.app"_s}}));
    EXPECT_TRUE(cask.manualInstaller);
}

TEST(CaskCatalogueParser, InstallerWithPkgAddsAPackageInstaller) {
    const Cask cask = parseKept(R"("artifacts":[{"installer":[{"pkg":"Setup.pkg"}]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{{InstallerType::pkg, u"Setup.pkg"_s}}));
    EXPECT_TRUE(cask.manualInstaller);
}

TEST(CaskCatalogueParser, InstallerPrefersManualOverPkgInOneObject) {
    const Cask cask =
        parseKept(R"("artifacts":[{"installer":[{"manual":"Setup.app","pkg":"Setup.pkg"}]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{{InstallerType::manual, u"Setup.app"_s}}));
}

TEST(CaskCatalogueParser, InstallerFallsBackToPkgWhenManualIsNoString) {
    const Cask cask =
        parseKept(R"("artifacts":[{"installer":[{"manual":true,"pkg":"Setup.pkg"}]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{{InstallerType::pkg, u"Setup.pkg"_s}}));
}

TEST(CaskCatalogueParser, ManualKeyWithoutAStringSetsManualInstallerOnly) {
    const Cask cask = parseKept(R"("artifacts":[{"installer":[{"manual":null}]}])");
    EXPECT_TRUE(cask.manualInstaller);
    EXPECT_TRUE(cask.installers.isEmpty());
}

TEST(CaskCatalogueParser, ScriptInstallerAddsNothingAndIsNotManual) {
    const Cask cask =
        parseKept(R"("artifacts":[{"installer":[{"script":{"executable":"install.sh"}}]}])");
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_FALSE(cask.manualInstaller);
}

TEST(CaskCatalogueParser, InstallerThatIsNotAllObjectsIsIgnoredWhole) {
    const Cask cask = parseKept(R"("artifacts":[{"installer":[{"manual":"Setup.app"},"x"]}])");
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_FALSE(cask.manualInstaller);
}

// The `uninstall` stanza.

TEST(CaskCatalogueParser, UninstallDeleteListGivesPathsAndAppInstallersForAppPaths) {
    const Cask cask = parseKept(
        R"("artifacts":[{"uninstall":[{"delete":["/Applications/Foo.app","/Library/Foo","/Applications/Bar.APP"]}]}])");
    EXPECT_EQ(cask.uninstallPaths, (QStringList{u"/Applications/Foo.app"_s, u"/Library/Foo"_s,
                                                u"/Applications/Bar.APP"_s}));
    EXPECT_EQ(cask.installers,
              (QList<Cask::Installer>{{InstallerType::app, u"/Applications/Foo.app"_s}}));
}

TEST(CaskCatalogueParser, UninstallDeleteStringGivesAPathButNoInstaller) {
    const Cask cask =
        parseKept(R"("artifacts":[{"uninstall":[{"delete":"/Applications/Foo.app"}]}])");
    EXPECT_EQ(cask.uninstallPaths, QStringList{u"/Applications/Foo.app"_s});
    EXPECT_TRUE(cask.installers.isEmpty());
}

TEST(CaskCatalogueParser, UninstallDeleteListWithANonStringGivesNothing) {
    const Cask cask =
        parseKept(R"("artifacts":[{"uninstall":[{"delete":["/Applications/Foo.app",1]}]}])");
    EXPECT_TRUE(cask.uninstallPaths.isEmpty());
    EXPECT_TRUE(cask.installers.isEmpty());
}

TEST(CaskCatalogueParser, ReadsNoUninstallDirectiveButDelete) {
    const Cask cask = parseKept(
        R"("artifacts":[{"uninstall":[{"quit":"com.example.foo","trash":["~/Library/Foo"]}]}])");
    EXPECT_TRUE(cask.uninstallPaths.isEmpty());
}

TEST(CaskCatalogueParser, UninstallThatIsNotAllObjectsIsIgnoredWhole) {
    const Cask cask =
        parseKept(R"("artifacts":[{"uninstall":[{"delete":"/Library/Foo"},"/Library/Bar"]}])");
    EXPECT_TRUE(cask.uninstallPaths.isEmpty());
}

TEST(CaskCatalogueParser, OrdersInstallersByArtifactThenInstallerAppUninstall) {
    const Cask cask = parseKept(
        R"("artifacts":[{"uninstall":[{"delete":["/Applications/Old.app"]}],"app":["New.app"],"installer":[{"manual":"Setup.app"}]},{"app":["Later.app"]}])");
    EXPECT_EQ(cask.installers, (QList<Cask::Installer>{
                                   {InstallerType::manual, u"Setup.app"_s},
                                   {InstallerType::app, u"/Applications/New.app"_s},
                                   {InstallerType::app, u"/Applications/Old.app"_s},
                                   {InstallerType::app, u"/Applications/Later.app"_s},
                               }));
}

TEST(CaskCatalogueParser, NeverProducesADiskImageInstaller) {
    const QList<Cask> casks = parse(readCatalogueData(u"catalogue.json"_s), true);
    for (const Cask& cask : casks) {
        EXPECT_TRUE(installersOfType(cask, InstallerType::dmg).isEmpty())
            << cask.name.toStdString();
    }
}

// Caveats and official names.

TEST(CaskCatalogueParser, CaveatsAsAStringGiveAnEmptyList) {
    EXPECT_TRUE(parseKept(R"("caveats":"Restart after installing.")").caveats.isEmpty());
}

TEST(CaskCatalogueParser, CaveatsAsAnArrayOfStringsAreKept) {
    EXPECT_EQ(parseKept(R"("caveats":["One","Two"])").caveats, (QStringList{u"One"_s, u"Two"_s}));
}

TEST(CaskCatalogueParser, CaveatsArrayWithANonStringGivesAnEmptyList) {
    EXPECT_TRUE(parseKept(R"("caveats":["One",2])").caveats.isEmpty());
}

TEST(CaskCatalogueParser, OfficialNamesComeFromTheNameArray) {
    EXPECT_EQ(parseKept(R"("name":["Foo","Foo Pro"])").officialNames,
              (QStringList{u"Foo"_s, u"Foo Pro"_s}));
}

TEST(CaskCatalogueParser, NameThatIsNotAnArrayOfStringsGivesNoOfficialNames) {
    EXPECT_TRUE(parseKept(R"("name":"Foo")").officialNames.isEmpty());
    EXPECT_TRUE(parseKept(R"("name":["Foo",null])").officialNames.isEmpty());
}

// Artifacts of the wrong type.

TEST(CaskCatalogueParser, ArtifactsThatAreNotAllObjectsCountAsEmpty) {
    const Cask cask = parseKept(R"("artifacts":[{"app":["Foo.app"]},"Foo.app"])");
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_DOUBLE_EQ(cask.confidence, 0.5);
}

TEST(CaskCatalogueParser, ArtifactsThatAreAnObjectCountAsEmpty) {
    const Cask cask = parseKept(R"("artifacts":{"app":["Foo.app"]})");
    EXPECT_TRUE(cask.installers.isEmpty());
    EXPECT_DOUBLE_EQ(cask.confidence, 0.5);
}

// Confidence at parse time.

TEST(CaskCatalogueParser, ScoresArtifactsWithADescriptionAtNinetyPercent) {
    EXPECT_DOUBLE_EQ(parseKept(R"("desc":"d","artifacts":[{"app":["A.app"]}])").confidence, 0.9);
}

TEST(CaskCatalogueParser, ScoresAManualInstallerWithDescriptionAtSeventyPercent) {
    EXPECT_DOUBLE_EQ(parseKept(R"("desc":"d","artifacts":[{"pkg":["A.pkg"]}])").confidence, 0.7);
}

TEST(CaskCatalogueParser, ScoresNeitherArtifactsNorDescriptionAtFiftyPercent) {
    EXPECT_DOUBLE_EQ(parseKept("").confidence, 0.5);
}

TEST(CaskCatalogueParser, ScoresArtifactsWithoutDescriptionAtEightyPercent) {
    EXPECT_DOUBLE_EQ(parseKept(R"("artifacts":[{"zap":[]}])").confidence, 0.8);
}

TEST(CaskCatalogueParser, ScoresADescriptionWithEmptyArtifactsAtSixtyPercent) {
    EXPECT_DOUBLE_EQ(parseKept(R"("desc":"d","artifacts":[])").confidence, 0.6);
}

TEST(CaskCatalogueParser, ScoresSharedCasksByTheirStanzas) {
    EXPECT_DOUBLE_EQ(sharedCask(u"firefox.json"_s).confidence, 0.9);
    EXPECT_DOUBLE_EQ(sharedCask(u"karabiner-elements.json"_s).confidence, 0.7);
    EXPECT_DOUBLE_EQ(sharedCask(u"aexol-remote-mouse.json"_s).confidence, 0.8);
}

// Identity.

TEST(CaskCatalogueParser, GivesTwoParsesOfOneTokenTwoDifferentIds) {
    const QByteArray bytes = R"([{"token":"same","version":"1"}])";
    const Cask first = parse(bytes).first();
    const Cask second = parse(bytes).first();
    EXPECT_NE(first.id, second.id);
    EXPECT_NE(first, second);
    EXPECT_EQ(QUuid::fromString(first.id).version(), QUuid::Random);
}

// Whole documents, well-formed and not.

TEST(CaskCatalogueParser, EmptyArrayGivesAnEmptyCatalogue) {
    EXPECT_TRUE(parse("[]").isEmpty());
}

TEST(CaskCatalogueParser, AcceptsALeadingByteOrderMark) {
    EXPECT_EQ(parse("\xEF\xBB\xBF[{\"token\":\"a\",\"version\":\"1\"}]").size(), 1);
}

TEST(CaskCatalogueParser, RootObjectIsAnInvalidResponse) {
    EXPECT_EQ(descriptionOfFailure<CaskError>(R"({"token":"a","version":"1"})"),
              u"Invalid response from Homebrew API"_s);
}

TEST(CaskCatalogueParser, RootScalarIsAnInvalidResponse) {
    try {
        parse("\"casks\"");
        FAIL() << "no error";
    } catch (const CaskError& error) {
        EXPECT_EQ(error.errorCase(), CaskError::Case::invalidAPIResponse);
    }
}

TEST(CaskCatalogueParser, ArrayHoldingANonObjectIsAnInvalidResponse) {
    EXPECT_THROW(parse(R"([{"token":"a","version":"1"},42])"), CaskError);
    EXPECT_THROW(parse(R"([[{"token":"a","version":"1"}]])"), CaskError);
    EXPECT_THROW(parse(R"([null])"), CaskError);
}

TEST(CaskCatalogueParser, TruncatedJSONIsASyntaxError) {
    const QByteArray whole = readCatalogueData(u"catalogue.json"_s);
    EXPECT_THROW(parse(whole.left(whole.size() / 2)), JSONSyntaxError);
}

TEST(CaskCatalogueParser, SyntaxErrorSaysTheDataIsNotJSONAndWhy) {
    const QString description = descriptionOfFailure<JSONSyntaxError>(R"([{"token":"a",)");
    EXPECT_TRUE(description.startsWith(u"The data is not valid JSON: "_s))
        << description.toStdString();
    EXPECT_GT(description.size(), u"The data is not valid JSON: "_s.size());
}

TEST(CaskCatalogueParser, EmptyBodyIsASyntaxError) {
    EXPECT_THROW(parse(QByteArray()), JSONSyntaxError);
}

TEST(CaskCatalogueParser, TrailingGarbageIsASyntaxError) {
    EXPECT_THROW(parse("[] ]"), JSONSyntaxError);
}

TEST(CaskCatalogueParser, InvalidUTF8IsASyntaxError) {
    EXPECT_THROW(parse("[{\"token\":\"caf\xC3\",\"version\":\"1\"}]"), JSONSyntaxError);
}

TEST(CaskCatalogueParser, DeepNestingIsASyntaxErrorAndNoCrash) {
    const QByteArray deep = QByteArray(100000, '[') + QByteArray(100000, ']');
    EXPECT_THROW(parse(deep), JSONSyntaxError);
}

TEST(CaskCatalogueParser, DeepNestingInsideACaskIsASyntaxError) {
    const QByteArray deep = R"([{"token":"a","version":"1","artifacts":)" + QByteArray(5000, '[') +
                            QByteArray(5000, ']') + "}]";
    EXPECT_THROW(parse(deep), JSONSyntaxError);
}

TEST(CaskCatalogueParser, KeepsNonAsciiTextIntact) {
    const Cask cask = parseKept(R"("name":["阿里云盘"],"desc":"Caf\u00e9 \ud83d\ude00")");
    EXPECT_EQ(cask.officialNames, QStringList{u"阿里云盘"_s});
    EXPECT_EQ(cask.description, u"Café 😀"_s);
}

TEST(CaskCatalogueParser, ParsesASingleObjectDirectly) {
    simdjson::dom::parser parser;
    const simdjson::padded_string json(std::string_view(R"({"token":"solo","version":"2"})"));
    const simdjson::dom::object object = parser.parse(json).get_object().value();
    const auto cask = parseCask(object, false, QStringLiteral("/Applications"));
    ASSERT_TRUE(cask.has_value());
    EXPECT_EQ(cask->name, u"solo"_s);
}

// The real catalogue.

TEST(CaskCatalogueParser, ParsesTheWholeSharedCatalogue) {
    const QByteArray bytes = readCatalogueData(u"catalogue.json"_s);
    const QList<Cask> current = parse(bytes, false);
    EXPECT_EQ(current.size(), 4010);
    EXPECT_EQ(parse(bytes, true).size(), 4038);
    EXPECT_EQ(current.first().name, u"0-ad"_s);
}

namespace {

struct SharedCaskExpectation {
    QString fileName;
    QString token;
    bool keptWithoutDeprecated;
    QList<Cask::Installer> installers;
    QStringList bundleIdentifiers;
    bool manualInstaller;
    QStringList uninstallPaths;
    QStringList officialNames;
    double confidence;
};

// What each published cask's stanzas say.
const QList<SharedCaskExpectation>& sharedCaskExpectations() {
    static const QList<SharedCaskExpectation> expectations = {
        {u"1clipboard.json"_s,
         u"1clipboard"_s,
         false,
         {{InstallerType::app, u"/Applications/1Clipboard.app"_s}},
         {},
         false,
         {},
         {u"1Clipboard"_s},
         0.9},
        {u"1kc-razer.json"_s,
         u"1kc-razer"_s,
         false,
         {{InstallerType::app, u"/Applications/Razer macOS.app"_s}},
         {},
         false,
         {},
         {u"Razer macOS"_s},
         0.9},
        {u"1password-cli.json"_s,
         u"1password-cli"_s,
         true,
         {},
         {},
         false,
         {},
         {u"1Password CLI"_s},
         0.9},
        {u"1password-cli@1.json"_s,
         u"1password-cli@1"_s,
         false,
         {},
         {},
         true,
         {},
         {u"1Password CLI"_s},
         0.7},
        {u"1password.json"_s,
         u"1password"_s,
         true,
         {{InstallerType::app, u"/Applications/1Password.app"_s}},
         {},
         false,
         {},
         {u"1Password"_s},
         0.9},
        {u"1password@7.json"_s,
         u"1password@7"_s,
         true,
         {{InstallerType::app, u"/Applications/1Password 7.app"_s}},
         {},
         false,
         {},
         {u"1Password"_s},
         0.9},
        {u"1password@beta.json"_s,
         u"1password@beta"_s,
         true,
         {{InstallerType::app, u"/Applications/1Password.app"_s}},
         {},
         false,
         {},
         {u"1Password"_s},
         0.9},
        {u"1password@nightly.json"_s,
         u"1password@nightly"_s,
         true,
         {{InstallerType::app, u"/Applications/1Password.app"_s}},
         {},
         false,
         {},
         {u"1Password Nightly"_s},
         0.9},
        {u"4k-video-downloader+.json"_s,
         u"4k-video-downloader+"_s,
         true,
         {{InstallerType::app, u"/Applications/4K Video Downloader+.app"_s}},
         {},
         false,
         {},
         {u"4K Video Downloader Plus"_s},
         0.9},
        {u"7777.json"_s, u"7777"_s, false, {}, {}, false, {}, {u"7777"_s}, 0.9},
        {u"86box.json"_s,
         u"86box"_s,
         true,
         {{InstallerType::app, u"/Applications/86Box.app"_s}},
         {},
         false,
         {},
         {u"86Box"_s},
         0.9},
        {u"abbyy-finereader-pdf.json"_s,
         u"abbyy-finereader-pdf"_s,
         true,
         {{InstallerType::app, u"/Applications/ABBYY FineReader PDF.app"_s}},
         {},
         false,
         {},
         {u"ABBYY FineReader PDF"_s},
         0.9},
        {u"ableton-live-suite@10.json"_s,
         u"ableton-live-suite@10"_s,
         true,
         {{InstallerType::app, u"/Applications/Ableton Live 10 Suite.app"_s}},
         {},
         false,
         {},
         {u"Ableton Live Suite"_s},
         0.9},
        {u"accessmenubarapps.json"_s,
         u"accessmenubarapps"_s,
         true,
         {{InstallerType::app, u"/Applications/AccessMenuBarApps2.6.1/AccessMenuBarApps.app"_s}},
         {},
         false,
         {},
         {u"AccessMenuBarApps"_s},
         0.9},
        {u"acronis-true-image.json"_s,
         u"acronis-true-image"_s,
         true,
         {},
         {},
         true,
         {u"/Applications/Acronis True Image.app"_s},
         {u"Acronis True Image"_s},
         0.7},
        {u"activitywatch@beta.json"_s,
         u"activitywatch@beta"_s,
         true,
         {{InstallerType::app, u"/Applications/ActivityWatch.app"_s}},
         {},
         false,
         {},
         {u"ActivityWatch"_s},
         0.9},
        {u"actual.json"_s,
         u"actual"_s,
         true,
         {{InstallerType::app, u"/Applications/Actual.app"_s}},
         {},
         false,
         {},
         {u"Actual"_s},
         0.9},
        {u"adguard.json"_s,
         u"adguard"_s,
         true,
         {},
         {},
         true,
         {u"/Library/Application Support/AdGuard Software/com.adguard.mac.adguard"_s,
          u"/Library/Application Support/com.adguard.Adguard"_s,
          u"/Library/com.adguard.mac.adguard.pac"_s},
         {u"AdGuard"_s},
         0.7},
        {u"adobe-acrobat-pro.json"_s,
         u"adobe-acrobat-pro"_s,
         true,
         {},
         {},
         true,
         {u"/Applications/Adobe Acrobat DC/"_s},
         {u"Adobe Acrobat Pro DC"_s},
         0.7},
        {u"adobe-acrobat-reader.json"_s,
         u"adobe-acrobat-reader"_s,
         true,
         {{InstallerType::app, u"/Applications/Adobe Acrobat Reader.app"_s}},
         {},
         true,
         {u"/Applications/Adobe Acrobat Reader.app"_s,
          u"/Library/Preferences/com.adobe.reader.DC.WebResource.plist"_s},
         {u"Adobe Acrobat Reader"_s},
         0.7},
        {u"adobe-air.json"_s, u"adobe-air"_s, true, {}, {}, false, {}, {u"Adobe AIR"_s}, 0.9},
        {u"adobe-connect.json"_s,
         u"adobe-connect"_s,
         true,
         {{InstallerType::manual, u"AdobeConnectInstaller.app"_s}},
         {},
         true,
         {u"/Applications/Adobe Connect"_s},
         {u"Adobe Connect"_s},
         0.7},
        {u"adobe-creative-cloud.json"_s,
         u"adobe-creative-cloud"_s,
         true,
         {},
         {},
         false,
         {u"$APPDIR/Adobe Creative Cloud/*Adobe Creative Cloud"_s,
          u"$APPDIR/Adobe Creative Cloud/.Uninstall*"_s, u"$APPDIR/Adobe Creative Cloud/Icon?"_s,
          u"/Applications/Utilities/Adobe Application Manager"_s,
          u"/Applications/Utilities/Adobe Creative Cloud*"_s,
          u"/Applications/Utilities/Adobe Installers/.Uninstall*"_s,
          u"/Applications/Utilities/Adobe Installers/Uninstall Adobe Creative Cloud"_s,
          u"/Applications/Utilities/Adobe Sync"_s,
          u"/Library/Internet Plug-Ins/AdobeAAMDetect.plugin"_s,
          u"/Library/LaunchDaemons/com.adobe.agsservice.plist"_s},
         {u"Adobe Creative Cloud"_s},
         0.9},
        {u"adobe-digital-editions.json"_s,
         u"adobe-digital-editions"_s,
         true,
         {},
         {},
         true,
         {u"/Applications/Adobe Digital Editions.app"_s},
         {u"Adobe Digital Editions"_s},
         0.7},
        {u"adrive.json"_s,
         u"adrive"_s,
         true,
         {{InstallerType::app, u"/Applications/aDrive.app"_s}},
         {},
         false,
         {},
         {u"Aliyundrive"_s, u"阿里云盘"_s},
         0.9},
        {u"aerial.json"_s,
         u"aerial"_s,
         true,
         {{InstallerType::app, u"/Applications/Aerial.app"_s}},
         {},
         false,
         {},
         {u"Aerial"_s},
         0.9},
        {u"aerial@beta.json"_s,
         u"aerial@beta"_s,
         true,
         {{InstallerType::app, u"/Applications/Aerial.app"_s}},
         {},
         false,
         {},
         {u"Aerial"_s},
         0.9},
        {u"aexol-remote-mouse.json"_s,
         u"aexol-remote-mouse"_s,
         false,
         {{InstallerType::app, u"/Applications/Remote Mouse for Mac.app"_s}},
         {},
         false,
         {},
         {u"Aexol Remote Mouse"_s},
         0.8},
        {u"affinity-designer.json"_s,
         u"affinity-designer"_s,
         false,
         {{InstallerType::app, u"/Applications/Affinity Designer 2.app"_s}},
         {},
         false,
         {},
         {u"Affinity Designer 2"_s},
         0.9},
        {u"airfoil.json"_s,
         u"airfoil"_s,
         true,
         {{InstallerType::app, u"/Applications/Airfoil/Airfoil Satellite.app"_s},
          {InstallerType::app, u"/Applications/Airfoil/Airfoil.app"_s}},
         {},
         false,
         {},
         {u"Airfoil"_s},
         0.9},
        {u"airmedia.json"_s, u"airmedia"_s, true, {}, {}, true, {}, {u"Crestron AirMedia"_s}, 0.7},
        {u"airparrot.json"_s,
         u"airparrot"_s,
         true,
         {{InstallerType::app, u"/Applications/AirParrot 3.app"_s}},
         {},
         false,
         {},
         {u"AirParrot"_s},
         0.9},
        {u"airtool.json"_s,
         u"airtool"_s,
         true,
         {},
         {},
         true,
         {u"/Library/Application Support/Airtool 2"_s},
         {u"Airtool"_s},
         0.7},
        {u"alacritty.json"_s,
         u"alacritty"_s,
         false,
         {{InstallerType::app, u"/Applications/Alacritty.app"_s}},
         {},
         false,
         {},
         {u"Alacritty"_s},
         0.9},
        {u"aladin.json"_s, u"aladin"_s, true, {}, {}, false, {}, {u"Aladin Desktop"_s}, 0.9},
        {u"aldente.json"_s,
         u"aldente"_s,
         true,
         {{InstallerType::app, u"/Applications/AlDente.app"_s}},
         {},
         false,
         {u"/Library/PrivilegedHelperTools/com.apphousekitchen.aldente-pro.helper"_s},
         {u"AlDente"_s},
         0.9},
        {u"alex313031-thorium.json"_s,
         u"alex313031-thorium"_s,
         false,
         {},
         {u"Thorium Browser.app"_s},
         false,
         {},
         {u"Thorium"_s},
         0.9},
        {u"alfred.json"_s,
         u"alfred"_s,
         true,
         {{InstallerType::app, u"/Applications/Alfred 5.app"_s}},
         {},
         false,
         {},
         {u"Alfred"_s},
         0.9},
        {u"alfred@4.json"_s,
         u"alfred@4"_s,
         true,
         {{InstallerType::app, u"/Applications/Alfred 4.app"_s}},
         {},
         false,
         {},
         {u"Alfred"_s},
         0.9},
        {u"alfred@prerelease.json"_s,
         u"alfred@prerelease"_s,
         true,
         {{InstallerType::app, u"/Applications/Alfred 5.app"_s}},
         {},
         false,
         {},
         {u"Alfred"_s},
         0.9},
        {u"algoapp.json"_s,
         u"algoapp"_s,
         true,
         {{InstallerType::app, u"/Applications/AlgoApp.app"_s}},
         {},
         false,
         {},
         {u"AlgoApp"_s},
         0.9},
        {u"alipay-key-tool.json"_s,
         u"alipay-key-tool"_s,
         false,
         {{InstallerType::app, u"/Applications/支付宝开放平台密钥工具.app"_s}},
         {},
         false,
         {},
         {u"Alipay Open Platform Key Tool"_s},
         0.9},
        {u"allen-and-heath-midi-control.json"_s,
         u"allen-and-heath-midi-control"_s,
         false,
         {{InstallerType::app, u"/Applications/Allen and Heath MIDI Control.app"_s}},
         {},
         false,
         {},
         {u"Allen & Heath Midi Control"_s},
         0.9},
        {u"alt-tab.json"_s,
         u"alt-tab"_s,
         true,
         {{InstallerType::app, u"/Applications/AltTab.app"_s}},
         {},
         false,
         {},
         {u"AltTab"_s},
         0.9},
        {u"amazon-music.json"_s,
         u"amazon-music"_s,
         true,
         {},
         {},
         false,
         {u"/Applications/Amazon Music.app"_s},
         {u"Amazon Music"_s},
         0.9},
        {u"brave-browser.json"_s,
         u"brave-browser"_s,
         true,
         {{InstallerType::app, u"/Applications/Brave Browser.app"_s}},
         {},
         false,
         {},
         {u"Brave"_s},
         0.9},
        {u"discord.json"_s,
         u"discord"_s,
         true,
         {{InstallerType::app, u"/Applications/Discord.app"_s}},
         {},
         false,
         {},
         {u"Discord"_s},
         0.9},
        {u"docker-desktop.json"_s,
         u"docker-desktop"_s,
         true,
         {{InstallerType::app, u"/Applications/Docker.app"_s}},
         {},
         false,
         {u"/Library/PrivilegedHelperTools/com.docker.socket"_s,
          u"/Library/PrivilegedHelperTools/com.docker.vmnetd"_s},
         {u"Docker Desktop"_s, u"Docker Community Edition"_s, u"Docker CE"_s},
         0.9},
        {u"everything-fixture.json"_s,
         u"everything"_s,
         true,
         {{InstallerType::app, u"/Applications/Everything.app"_s}},
         {},
         false,
         {u"/Library/EverythingHelperTools"_s},
         {u"Everything"_s},
         0.9},
        {u"firefox.json"_s,
         u"firefox"_s,
         true,
         {{InstallerType::app, u"/Applications/Firefox.app"_s}},
         {},
         false,
         {},
         {u"Mozilla Firefox"_s},
         0.9},
        {u"google-chrome.json"_s,
         u"google-chrome"_s,
         true,
         {{InstallerType::app, u"/Applications/Google Chrome.app"_s}},
         {},
         false,
         {},
         {u"Google Chrome"_s},
         0.9},
        {u"iterm2.json"_s,
         u"iterm2"_s,
         true,
         {{InstallerType::app, u"/Applications/iTerm.app"_s}},
         {},
         false,
         {},
         {u"iTerm2"_s},
         0.9},
        {u"karabiner-elements.json"_s,
         u"karabiner-elements"_s,
         true,
         {},
         {},
         true,
         {u"/Library/Application Support/org.pqrs"_s},
         {u"Karabiner Elements"_s},
         0.7},
        {u"little-snitch.json"_s,
         u"little-snitch"_s,
         true,
         {{InstallerType::app, u"/Applications/Little Snitch.app"_s}},
         {},
         false,
         {},
         {u"Little Snitch"_s},
         0.9},
        {u"microsoft-excel.json"_s,
         u"microsoft-excel"_s,
         true,
         {},
         {},
         true,
         {},
         {u"Microsoft Excel"_s},
         0.7},
        {u"microsoft-word.json"_s,
         u"microsoft-word"_s,
         true,
         {},
         {},
         true,
         {},
         {u"Microsoft Word"_s},
         0.7},
        {u"obsidian.json"_s,
         u"obsidian"_s,
         true,
         {{InstallerType::app, u"/Applications/Obsidian.app"_s}},
         {},
         false,
         {},
         {u"Obsidian"_s},
         0.9},
        {u"rectangle.json"_s,
         u"rectangle"_s,
         true,
         {{InstallerType::app, u"/Applications/Rectangle.app"_s}},
         {},
         false,
         {},
         {u"Rectangle"_s},
         0.9},
        {u"slack.json"_s,
         u"slack"_s,
         true,
         {{InstallerType::app, u"/Applications/Slack.app"_s}},
         {},
         false,
         {},
         {u"Slack"_s},
         0.9},
        {u"spotify.json"_s,
         u"spotify"_s,
         true,
         {{InstallerType::app, u"/Applications/Spotify.app"_s}},
         {},
         false,
         {},
         {u"Spotify"_s},
         0.9},
        {u"the-unarchiver.json"_s,
         u"the-unarchiver"_s,
         true,
         {{InstallerType::app, u"/Applications/The Unarchiver.app"_s}},
         {},
         false,
         {},
         {u"The Unarchiver"_s},
         0.9},
        {u"transmission.json"_s,
         u"transmission"_s,
         true,
         {{InstallerType::app, u"/Applications/Transmission.app"_s}},
         {},
         false,
         {},
         {u"Transmission"_s},
         0.9},
        {u"virtualbox.json"_s,
         u"virtualbox"_s,
         true,
         {},
         {},
         true,
         {u"/usr/local/bin/vboximg-mount"_s},
         {u"Oracle VirtualBox"_s},
         0.7},
        {u"visual-studio-code.json"_s,
         u"visual-studio-code"_s,
         true,
         {{InstallerType::app, u"/Applications/Visual Studio Code.app"_s}},
         {},
         false,
         {},
         {u"Microsoft Visual Studio Code"_s, u"VS Code"_s},
         0.9},
        {u"visual-studio-code@insiders.json"_s,
         u"visual-studio-code@insiders"_s,
         true,
         {{InstallerType::app, u"/Applications/Visual Studio Code - Insiders.app"_s}},
         {},
         false,
         {},
         {u"Microsoft Visual Studio Code Insiders"_s, u"VS Code Insiders"_s},
         0.9},
        {u"vlc.json"_s,
         u"vlc"_s,
         true,
         {{InstallerType::app, u"/Applications/VLC.app"_s}},
         {},
         false,
         {},
         {u"VLC media player"_s},
         0.9},
        {u"whatsapp.json"_s,
         u"whatsapp"_s,
         true,
         {{InstallerType::app, u"/Applications/WhatsApp.app"_s}},
         {},
         false,
         {},
         {u"WhatsApp"_s},
         0.9},
        {u"zoom.json"_s,
         u"zoom"_s,
         true,
         {{InstallerType::app, u"/Applications/zoom.us.app"_s}},
         {},
         true,
         {u"/Applications/zoom.us.app"_s, u"/Library/Internet Plug-Ins/ZoomUsPlugIn.plugin"_s,
          u"/Library/Logs/DiagnosticReports/zoom.us*"_s,
          u"/Library/PrivilegedHelperTools/us.zoom.ZoomDaemon"_s},
         {u"Zoom"_s},
         0.7},
    };
    return expectations;
}

}  // namespace

TEST(CaskCatalogueParser, MapsEverySharedCaskFileAsItsStanzasSay) {
    const QStringList files =
        QDir(catalogueDataDir() + u"/casks"_s).entryList({u"*.json"_s}, QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), sharedCaskExpectations().size());
    for (const SharedCaskExpectation& expected : sharedCaskExpectations()) {
        SCOPED_TRACE(expected.fileName.toStdString());
        ASSERT_TRUE(files.contains(expected.fileName));
        const QByteArray bytes = singleCaskCatalogue(expected.fileName);
        EXPECT_EQ(parse(bytes, false).size(), expected.keptWithoutDeprecated ? 1 : 0);
        const QList<Cask> casks = parse(bytes, true);
        ASSERT_EQ(casks.size(), 1);
        const Cask& cask = casks.first();
        EXPECT_EQ(cask.name, expected.token);
        EXPECT_EQ(cask.installers, expected.installers);
        EXPECT_EQ(cask.bundleIdentifiers, expected.bundleIdentifiers);
        EXPECT_EQ(cask.manualInstaller, expected.manualInstaller);
        EXPECT_EQ(cask.uninstallPaths, expected.uninstallPaths);
        EXPECT_EQ(cask.officialNames, expected.officialNames);
        EXPECT_DOUBLE_EQ(cask.confidence, expected.confidence);
    }
}

TEST(CaskCatalogueParser, MapsTheEverythingFixtureFieldByField) {
    const Cask cask = sharedCask(u"everything-fixture.json"_s);
    EXPECT_EQ(cask.name, u"everything"_s);
    EXPECT_EQ(cask.version, u"1.2.3"_s);
    EXPECT_EQ(cask.rawVersion, u"1.2.3"_s);
    EXPECT_EQ(cask.homepage, u"https://www.everything.app/"_s);
    EXPECT_EQ(cask.description, u"Little bit of everything"_s);
    EXPECT_EQ(cask.officialNames, QStringList{u"Everything"_s});
    // The installer stanza holds only a script, which is neither manual nor a package.
    EXPECT_EQ(cask.installers,
              (QList<Cask::Installer>{{InstallerType::app, u"/Applications/Everything.app"_s}}));
    EXPECT_FALSE(cask.manualInstaller);
    EXPECT_EQ(cask.uninstallPaths, QStringList{u"/Library/EverythingHelperTools"_s});
    EXPECT_TRUE(cask.bundleIdentifiers.isEmpty());
    EXPECT_TRUE(cask.caveats.isEmpty());
    EXPECT_TRUE(cask.warnings.isEmpty());
    EXPECT_DOUBLE_EQ(cask.confidence, 0.9);
}

TEST(CaskError, DescribesAMissingCaskByName) {
    const CaskError error = CaskError::caskNotFound(u"foo"_s);
    EXPECT_EQ(error.errorCase(), CaskError::Case::caskNotFound);
    EXPECT_EQ(error.caskName(), u"foo"_s);
    EXPECT_EQ(error.description(), u"Cask not found: foo"_s);
    EXPECT_STREQ(error.what(), "Cask not found: foo");
}

TEST(CaskError, DescribesAnInvalidResponse) {
    EXPECT_EQ(CaskError::invalidAPIResponse().description(),
              u"Invalid response from Homebrew API"_s);
}

TEST(CaskCatalogueParser, AppArtifactsInstallIntoTheGivenApplicationsFolder) {
    const QList<Cask> casks =
        parseCaskCatalogue(R"([{"token":"foo","version":"1","artifacts":[{"app":["Foo.app"]}]}])",
                           false, QStringLiteral("/Volumes/Sandbox/Applications"));
    ASSERT_EQ(casks.size(), 1);
    ASSERT_EQ(casks[0].installers.size(), 1);
    EXPECT_EQ(casks[0].installers[0].path, u"/Volumes/Sandbox/Applications/Foo.app"_s);
}
