#include "discovery_sandbox.h"
#include "test_catalogue.h"
#include "test_property_list.h"

#include "core/async/sleep_for.h"
#include "discovery/directory_listing_error.h"
#include "discovery/discovery_error.h"
#include "homebrew/brew_error.h"
#include "homebrew/json_syntax_error.h"
#include "support/await.h"
#include "support/test_paths.h"

#include <QDir>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

#include <algorithm>

using namespace tarnel;
using namespace std::chrono_literals;

namespace {

const QString enableMASSupport = QStringLiteral("enableMASSupport");
const QString hideMASAppCaskSuggestions = QStringLiteral("hideMASAppCaskSuggestions");

// A cask whose app artifact is `appFile`, so that the bundle of that name in
// the applications folder is what it manages.
QJsonObject appCask(const QString& token, const QString& officialName, const QString& appFile) {
    return QJsonObject{
        {QStringLiteral("token"), token},
        {QStringLiteral("name"), QJsonArray{officialName}},
        {QStringLiteral("version"), QStringLiteral("1.0")},
        {QStringLiteral("desc"), QStringLiteral("A cask made for a test")},
        {QStringLiteral("artifacts"),
         QJsonArray{QJsonObject{{QStringLiteral("app"), QJsonArray{appFile}}}}},
    };
}

QJsonObject rectangleCask() {
    return appCask(QStringLiteral("rectangle"), QStringLiteral("Rectangle"),
                   QStringLiteral("Rectangle.app"));
}

QStringList tokens(const QList<Cask>& casks) {
    QStringList names;
    for (const Cask& cask : casks) {
        names.append(cask.name);
    }
    return names;
}

// Adopted applications are offered nothing.
void expectAdoptedBy(const Application& application, const QString& token) {
    ASSERT_TRUE(application.adoptedCask);
    EXPECT_EQ(application.adoptedCask->name, token);
    EXPECT_TRUE(application.alreadyAdopted);
    EXPECT_TRUE(application.caskOptions.isEmpty());
}

// The error a run ends with; fails the test when it ends otherwise.
template <typename Error>
std::optional<Error> discoveryFailure(DiscoverySandbox& sandbox) {
    try {
        sandbox.discover();
    } catch (const Error& error) {
        return error;
    }
    ADD_FAILURE() << "the run did not end with the expected error";
    return std::nullopt;
}

// Where the INFO line that `pattern` matches whole stands in the log; -1 when none does.
qsizetype timingLineIndex(const LogCapture& capture, const QString& pattern) {
    const QRegularExpression expression(QStringLiteral("^\\[INFO\\] ") + pattern + u'$');
    const QStringList lines = capture.lines();
    const auto found = std::find_if(lines.begin(), lines.end(), [&](const QString& line) {
        return expression.match(line).hasMatch();
    });
    return found == lines.end() ? -1 : found - lines.begin();
}

bool hasTimingLine(const LogCapture& capture, const QString& pattern) {
    return timingLineIndex(capture, pattern) >= 0;
}

// A sandbox whose catalogue is small and made here, with Rectangle installed
// and managed by its cask.
class AdoptedRectangle : public ::testing::Test {
protected:
    AdoptedRectangle() {
        sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
        sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
        serve({rectangleCask(), appCask(QStringLiteral("maccy"), QStringLiteral("Maccy"),
                                        QStringLiteral("Maccy.app"))});
        sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.85"));
    }

    void serve(const QList<QJsonObject>& casks) {
        sandbox.serveCatalogueFile(writtenCatalogue(
            sandbox.brew.path(QStringLiteral("catalogue.json")), catalogueOf(casks)));
    }

    // Discovers Rectangle, then forgets the run's log lines.
    Application discoveredRectangle() {
        const Application rectangle = named(sandbox.discover(), QStringLiteral("Rectangle"));
        EXPECT_TRUE(rectangle.alreadyAdopted);
        sandbox.brew.capture.clear();
        return rectangle;
    }

    DiscoverySandbox sandbox;
};

}  // namespace

TEST(DiscoveryService, FindsEveryBundleAndDecidesAdoptionAndOptions) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.bundles.addFixture(QStringLiteral("Utilities/Stats.app"), QStringLiteral("Stats"));
    sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.98"));

    const QList<Application> applications = sandbox.discover();

    EXPECT_EQ(displayNames(applications),
              (QStringList{QStringLiteral("Maccy"), QStringLiteral("Rectangle"),
                           QStringLiteral("Stats")}));
    const Application rectangle = named(applications, QStringLiteral("Rectangle"));
    expectAdoptedBy(rectangle, QStringLiteral("rectangle"));
    const Application maccy = named(applications, QStringLiteral("Maccy"));
    EXPECT_FALSE(maccy.adoptedCask);
    EXPECT_FALSE(maccy.alreadyAdopted);
    EXPECT_EQ(tokens(maccy.caskOptions).value(0), QStringLiteral("maccy"));
    EXPECT_EQ(tokens(named(applications, QStringLiteral("Stats")).caskOptions).value(0),
              QStringLiteral("stats"));
}

TEST(DiscoveryService, GivesEachRecordOnceWhateverTheOrderOfFinishing) {
    DiscoverySandbox sandbox;
    QSet<QString> expectedPaths;
    for (const QString& fixture : QDir(fixturesDir() + QStringLiteral("/bundles"))
                                      .entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        expectedPaths.insert(sandbox.bundles.addFixture(fixture, fixture.chopped(4)));
    }

    const QList<Application> applications = sandbox.discover();

    QSet<QString> paths;
    QSet<QString> ids;
    for (const Application& application : applications) {
        paths.insert(application.bundlePath);
        ids.insert(application.id);
    }
    EXPECT_EQ(applications.size(), expectedPaths.size());
    EXPECT_EQ(paths, expectedPaths);
    EXPECT_EQ(ids.size(), applications.size());
}

TEST(DiscoveryService, WithStoreSupportOffIgnoresHidingAndGivesNoStoreRecords) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.mas.addInstalledApp(QStringLiteral("1527619437"), QStringLiteral("Maccy"),
                                QStringLiteral("2.0.0"));
    sandbox.settings.setBool(hideMASAppCaskSuggestions, true);

    const Application maccy = named(sandbox.discover(), QStringLiteral("Maccy"));

    EXPECT_FALSE(maccy.masApp);
    EXPECT_EQ(tokens(maccy.caskOptions).value(0), QStringLiteral("maccy"));
    EXPECT_TRUE(sandbox.mas.invocations().isEmpty());
}

TEST(DiscoveryService, StoreApplicationWithHiddenSuggestionsKeepsItsAdoption) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
    sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.98"));
    sandbox.mas.addInstalledApp(QStringLiteral("1111"), QStringLiteral("Rectangle"),
                                QStringLiteral("0.85"));
    sandbox.settings.setBool(enableMASSupport, true);
    sandbox.settings.setBool(hideMASAppCaskSuggestions, true);

    const Application rectangle = named(sandbox.discover(), QStringLiteral("Rectangle"));

    expectAdoptedBy(rectangle, QStringLiteral("rectangle"));
    EXPECT_EQ(rectangle.masApp, (MASApp{QStringLiteral("1111"), QStringLiteral("Rectangle"),
                                        QStringLiteral("0.85")}));
}

TEST(DiscoveryService, StoreApplicationWithHiddenSuggestionsThatNoCaskManagesGetsNoOptions) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.bundles.addFixture(QStringLiteral("Stats.app"), QStringLiteral("Stats"));
    sandbox.mas.addInstalledApp(QStringLiteral("1527619437"), QStringLiteral("Maccy"),
                                QStringLiteral("2.0.0"));
    sandbox.settings.setBool(enableMASSupport, true);
    sandbox.settings.setBool(hideMASAppCaskSuggestions, true);

    const QList<Application> applications = sandbox.discover();

    const Application maccy = named(applications, QStringLiteral("Maccy"));
    ASSERT_TRUE(maccy.masApp);
    EXPECT_EQ(maccy.masApp->id, QStringLiteral("1527619437"));
    EXPECT_TRUE(maccy.caskOptions.isEmpty());
    EXPECT_FALSE(maccy.adoptedCask);
    EXPECT_FALSE(maccy.alreadyAdopted);
    const Application stats = named(applications, QStringLiteral("Stats"));
    EXPECT_FALSE(stats.masApp);
    EXPECT_FALSE(stats.caskOptions.isEmpty());
}

TEST(DiscoveryService, StoreRecordIsFoundByExactDisplayName) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.mas.addInstalledApp(QStringLiteral("1"), QStringLiteral("maccy"), QStringLiteral("1"));
    sandbox.mas.addInstalledApp(QStringLiteral("2"), QStringLiteral("Maccy"), QStringLiteral("2"));
    sandbox.mas.addInstalledApp(QStringLiteral("3"), QStringLiteral("Maccy"), QStringLiteral("3"));
    sandbox.settings.setBool(enableMASSupport, true);

    const Application maccy = named(sandbox.discover(), QStringLiteral("Maccy"));

    ASSERT_TRUE(maccy.masApp);
    EXPECT_EQ(maccy.masApp->id, QStringLiteral("2"));
    EXPECT_FALSE(maccy.caskOptions.isEmpty());
}

TEST(DiscoveryService, ExcludedApplicationGetsNoOptionsYetKeepsItsAdoption) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.98"));
    sandbox.settings.setStringList(
        QStringLiteral("excludedApplications"),
        {QStringLiteral("com.knollsoft.Rectangle"), QStringLiteral("org.p0deje.Maccy")});

    const QList<Application> applications = sandbox.discover();

    const Application rectangle = named(applications, QStringLiteral("Rectangle"));
    EXPECT_TRUE(rectangle.excluded);
    expectAdoptedBy(rectangle, QStringLiteral("rectangle"));
    const Application maccy = named(applications, QStringLiteral("Maccy"));
    EXPECT_TRUE(maccy.excluded);
    EXPECT_TRUE(maccy.caskOptions.isEmpty());
    EXPECT_FALSE(maccy.adoptedCask);
}

TEST(DiscoveryService, HardCodedExclusionDropsTheBundleAndUserExclusionMarksIt) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addBundle(QStringLiteral("Safari.app"),
                              TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                                  .text("CFBundleIdentifier", QStringLiteral("com.apple.Safari"))
                                  .xml());
    sandbox.bundles.addFixture(QStringLiteral("Stats.app"), QStringLiteral("Stats"));
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    // The hard-coded test comes first, so the user's list cannot keep Safari.
    sandbox.settings.setStringList(
        QStringLiteral("excludedApplications"),
        {QStringLiteral("eu.exelban.Stats"), QStringLiteral("com.apple.Safari")});

    const QList<Application> applications = sandbox.discover();

    EXPECT_EQ(displayNames(applications),
              (QStringList{QStringLiteral("Maccy"), QStringLiteral("Stats")}));
    EXPECT_TRUE(named(applications, QStringLiteral("Stats")).excluded);
    EXPECT_FALSE(named(applications, QStringLiteral("Maccy")).excluded);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("Processing 2 apps for cask and MAS discovery")));
}

TEST(DiscoveryService, ProgressNeverGoesDownAndReachesOneWithTheLastApplication) {
    DiscoverySandbox sandbox;
    const QStringList fixtures{QStringLiteral("Rectangle"), QStringLiteral("Maccy"),
                               QStringLiteral("Stats"), QStringLiteral("IINA"),
                               QStringLiteral("Loop")};
    for (const QString& fixture : fixtures) {
        sandbox.bundles.addFixture(fixture + QStringLiteral(".app"), fixture);
    }

    sandbox.discover();

    QList<double> expected{0.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.55, 0.6};
    for (qsizetype finished = 1; finished <= fixtures.size(); ++finished) {
        expected.append(0.6 +
                        0.4 * static_cast<double>(finished) / static_cast<double>(fixtures.size()));
    }
    EXPECT_EQ(sandbox.reports, expected);
    EXPECT_TRUE(std::is_sorted(sandbox.reports.begin(), sandbox.reports.end()));
    EXPECT_EQ(sandbox.reports.last(), 1.0);
    EXPECT_EQ(sandbox.reports.count(1.0), 1);
}

TEST(DiscoveryService, ReportsAnApplicationOnlyOnceItIsFinishedAndTheLastReportIsAwaited) {
    DiscoverySandbox sandbox;
    // Nothing in the catalogue matches these names, so each application logs
    // when its matching is done; matching each against the whole catalogue
    // takes long enough for the reports to meet applications still at work.
    constexpr qsizetype count = 16;
    for (qsizetype number = 1; number <= count; ++number) {
        const QString name = QStringLiteral("Xqzj Vbnk %1").arg(number);
        sandbox.bundles.addBundle(
            name + QStringLiteral(".app"),
            TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Ice")))
                .text("CFBundleName", name)
                .text("CFBundleIdentifier", QStringLiteral("org.example.unmatched%1").arg(number))
                .xml());
    }
    const auto finishedCount = [&sandbox] {
        return sandbox.brew.capture.lines().filter(QStringLiteral("no cask options found")).size();
    };
    QList<qsizetype> finishedAtReport;
    int reportsUnderWay = 0;
    int mostReportsUnderWay = 0;
    const DiscoveryService::ProgressCallback progress = [&](double fraction) -> QCoro::Task<> {
        ++reportsUnderWay;
        mostReportsUnderWay = std::max(mostReportsUnderWay, reportsUnderWay);
        if (fraction > 0.6) {
            finishedAtReport.append(finishedCount());
        }
        // Each report waits for a turn of the event loop, as a screen's would,
        // so one left unawaited would still be under way when the next came.
        co_await sleepFor(0ms);
        --reportsUnderWay;
    };

    EXPECT_EQ(await(sandbox.discoveryService().discoverApplications(progress)).size(), count);

    ASSERT_EQ(finishedAtReport.size(), count);
    for (qsizetype report = 0; report < count; ++report) {
        EXPECT_GE(finishedAtReport[report], report + 1) << "report " << report + 1;
    }
    EXPECT_EQ(finishedCount(), count);
    EXPECT_EQ(mostReportsUnderWay, 1);
    EXPECT_EQ(reportsUnderWay, 0);
}

TEST(DiscoveryService, EmptyApplicationsFolderGivesNothingAndEndsAtSixTenths) {
    DiscoverySandbox sandbox;

    EXPECT_TRUE(sandbox.discover().isEmpty());

    EXPECT_EQ(sandbox.reports, (QList<double>{0.0, 0.1, 0.2, 0.3, 0.4, 0.5, 0.55, 0.6}));
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("Processing 0 apps for cask and MAS discovery")));
}

TEST(DiscoveryService, LogsTheTimingOfEveryStage) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Rectangle.app"), QStringLiteral("Rectangle"));
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.installCask(QStringLiteral("rectangle"), QStringLiteral("0.98"));
    sandbox.mas.addInstalledApp(QStringLiteral("1"), QStringLiteral("Pages"), QStringLiteral("1"));
    sandbox.settings.setBool(enableMASSupport, true);

    sandbox.discover();

    const QStringList stages{
        QStringLiteral("Starting application discovery in /Applications"),
        QStringLiteral("Application discovery complete\\. Found 2 applications in \\d+\\.\\d\\ds"),
        QStringLiteral("Loaded exclusions in \\d+\\.\\d\\ds"),
        QStringLiteral("Fetched \\d{4} casks, 1 installed casks, and 1 MAS apps in \\d+\\.\\d\\ds"),
        QStringLiteral("Processing 2 apps for cask and MAS discovery"),
        QStringLiteral("Completed cask and MAS discovery for 2 apps in \\d+\\.\\d\\ds"),
        QStringLiteral("Discovery complete! Found 2 apps in \\d+\\.\\d\\ds total")};
    qsizetype previous = -1;
    for (const QString& stage : stages) {
        const qsizetype index = timingLineIndex(sandbox.brew.capture, stage);
        EXPECT_GT(index, previous) << stage.toStdString();
        previous = index;
    }
}

TEST(DiscoveryService, FailingStoreToolNeverFailsDiscovery) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.mas.addInstalledApp(QStringLiteral("1527619437"), QStringLiteral("Maccy"),
                                QStringLiteral("2.0.0"));
    sandbox.mas.failCommand(QStringLiteral("list"), 1, QString(),
                            QStringLiteral("Error: not signed in"));
    sandbox.settings.setBool(enableMASSupport, true);

    const QList<Application> applications = sandbox.discover();

    ASSERT_EQ(applications.size(), 1);
    EXPECT_FALSE(applications.first().masApp);
    EXPECT_FALSE(applications.first().caskOptions.isEmpty());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("Failed to get MAS apps: MAS command failed: Error: not signed in")));
    EXPECT_EQ(sandbox.reports.last(), 1.0);
}

TEST(DiscoveryService, MissingStoreToolNeverFailsDiscovery) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.brew.layout.masCandidates = {sandbox.brew.path(QStringLiteral("nowhere/mas"))};
    sandbox.settings.setBool(enableMASSupport, true);

    const QList<Application> applications = sandbox.discover();

    ASSERT_EQ(applications.size(), 1);
    EXPECT_FALSE(applications.first().masApp);
    EXPECT_TRUE(sandbox.brew.capture.containsText(QStringLiteral("Failed to get MAS apps: ")));
}

TEST(DiscoveryService, CatalogueServerErrorEndsTheRunWithoutAList) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.serveCatalogue(ServedRoute::bytes("busy", 500));

    const std::optional<BrewError> error = discoveryFailure<BrewError>(sandbox);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), BrewError::Kind::apiRequestFailed);
    EXPECT_EQ(sandbox.reports, (QList<double>{0.0, 0.1, 0.2, 0.3}));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Processing ")));
}

TEST(DiscoveryService, MalformedCatalogueEndsTheRunWithoutAList) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    sandbox.serveCatalogue(ServedRoute::bytes("[{\"token\": \"maccy\", "));

    EXPECT_TRUE(discoveryFailure<JSONSyntaxError>(sandbox));

    EXPECT_EQ(sandbox.reports, (QList<double>{0.0, 0.1, 0.2, 0.3}));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Processing ")));
}

TEST(DiscoveryService, FailingCaskListEndsTheRunWithoutAList) {
    DiscoverySandbox sandbox;
    sandbox.bundles.addFixture(QStringLiteral("Maccy.app"), QStringLiteral("Maccy"));
    FakeBrewBehaviour failing;
    failing.exitStatus = 1;
    failing.standardError = "Error: the cellar is locked";
    sandbox.brew.state.setBehaviour(QStringLiteral("list"), failing);

    const std::optional<BrewError> error = discoveryFailure<BrewError>(sandbox);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), BrewError::Kind::commandFailed);
    EXPECT_EQ(sandbox.reports, (QList<double>{0.0, 0.1, 0.2, 0.3, 0.4, 0.5}));
    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Processing ")));
}

TEST(DiscoveryService, MissingApplicationsFolderThrowsNotFound) {
    DiscoverySandbox sandbox;
    sandbox.brew.layout.applicationsDirectory = sandbox.brew.path(QStringLiteral("Nowhere"));

    const std::optional<DiscoveryError> error = discoveryFailure<DiscoveryError>(sandbox);

    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind(), DiscoveryError::Kind::applicationsDirectoryNotFound);
    EXPECT_EQ(error->description(), QStringLiteral("/Applications directory not found"));
    EXPECT_TRUE(sandbox.brew.capture.contains(LogLevel::error,
                                              QStringLiteral("/Applications directory not found")));
    EXPECT_EQ(sandbox.reports, QList<double>{0.0});
}

TEST(DiscoveryService, UnlistableApplicationsFolderGivesTheListingError) {
    DiscoverySandbox sandbox;
    const QString notAFolder = sandbox.brew.path(QStringLiteral("Applications-file"));
    writeFile(notAFolder, "not a folder");
    sandbox.brew.layout.applicationsDirectory = notAFolder;

    EXPECT_TRUE(discoveryFailure<DirectoryListingError>(sandbox));

    EXPECT_EQ(sandbox.reports, QList<double>{0.0});
}

TEST(DiscoveryService, InvalidBundleCaseKeepsItsDescription) {
    EXPECT_EQ(DiscoveryError(DiscoveryError::Kind::invalidApplicationBundle).description(),
              QStringLiteral("Invalid application bundle"));
}

TEST_F(AdoptedRectangle, DeprecatedCaskKeepsItsAdoptionAndOffersNothing) {
    QJsonObject deprecated = rectangleCask();
    deprecated.insert(QStringLiteral("deprecated"), true);
    serve({deprecated,
           appCask(QStringLiteral("maccy"), QStringLiteral("Maccy"), QStringLiteral("Maccy.app"))});

    const Application rectangle = named(sandbox.discover(), QStringLiteral("Rectangle"));

    expectAdoptedBy(rectangle, QStringLiteral("rectangle"));
    // Only the catalogue without deprecated casks is offered for matching.
    EXPECT_TRUE(hasTimingLine(
        sandbox.brew.capture,
        QStringLiteral("Fetched 1 casks, 1 installed casks, and 0 MAS apps in \\d+\\.\\d\\ds")));
}

TEST_F(AdoptedRectangle, RefreshVerifiesAnAdoptionThatStillHolds) {
    Application rectangle = discoveredRectangle();
    rectangle.excluded = true;

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->id, rectangle.id);
    EXPECT_TRUE(refreshed->excluded);
    ASSERT_TRUE(refreshed->adoptedCask);
    EXPECT_EQ(refreshed->adoptedCask->name, QStringLiteral("rectangle"));
    EXPECT_TRUE(refreshed->alreadyAdopted);
    const LogCapture& capture = sandbox.brew.capture;
    EXPECT_TRUE(capture.contains(
        LogLevel::info, QStringLiteral("Verified Rectangle is still managed by cask: rectangle")));
    EXPECT_TRUE(capture.contains(
        LogLevel::info, QStringLiteral("Refreshed application bundle info for Rectangle")));
}

TEST_F(AdoptedRectangle, RefreshAfterUninstallLosesTheAdoptionAndKeepsTheOptions) {
    Application rectangle = discoveredRectangle();
    sandbox.uninstallCask(QStringLiteral("rectangle"));
    sandbox.outliveCaches();

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_FALSE(refreshed->adoptedCask);
    EXPECT_FALSE(refreshed->alreadyAdopted);
    EXPECT_EQ(refreshed->caskOptions, rectangle.caskOptions);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("Cask rectangle is no longer installed for app Rectangle")));
}

TEST_F(AdoptedRectangle, RefreshKeepsWhateverOptionsTheApplicationHad) {
    const QList<Application> applications = sandbox.discover();
    Application rectangle = named(applications, QStringLiteral("Rectangle"));
    rectangle.caskOptions = named(applications, QStringLiteral("Maccy")).caskOptions;
    ASSERT_FALSE(rectangle.caskOptions.isEmpty());
    sandbox.uninstallCask(QStringLiteral("rectangle"));
    sandbox.outliveCaches();

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_FALSE(refreshed->alreadyAdopted);
    EXPECT_EQ(refreshed->caskOptions, rectangle.caskOptions);
}

TEST_F(AdoptedRectangle, RefreshLosesTheAdoptionOfACaskThatNoLongerExists) {
    const Application rectangle = discoveredRectangle();
    serve({appCask(QStringLiteral("maccy"), QStringLiteral("Maccy"), QStringLiteral("Maccy.app"))});

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_FALSE(refreshed->adoptedCask);
    EXPECT_FALSE(refreshed->alreadyAdopted);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning, QStringLiteral("Cask rectangle no longer exists for app Rectangle")));
}

TEST_F(AdoptedRectangle, RefreshLosesTheAdoptionWhenAnotherCaskNowManagesTheBundle) {
    sandbox.installCask(QStringLiteral("squares"));
    const Application rectangle = discoveredRectangle();
    // The bundle now belongs to another installed cask by its very path,
    // which outranks the old cask's match by name.
    serve({appCask(QStringLiteral("rectangle"), QStringLiteral("Rectangle"),
                   QStringLiteral("Rectangle Legacy.app")),
           appCask(QStringLiteral("squares"), QStringLiteral("Squares"),
                   QStringLiteral("Rectangle.app"))});

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_FALSE(refreshed->adoptedCask);
    EXPECT_FALSE(refreshed->alreadyAdopted);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::warning,
        QStringLiteral("App Rectangle is no longer managed by cask rectangle after update")));
}

TEST_F(AdoptedRectangle, RefreshKeepsTheAdoptionWhenTheCaskListFails) {
    const Application rectangle = discoveredRectangle();
    FakeBrewBehaviour failing;
    failing.exitStatus = 1;
    failing.standardError = "Error: the cellar is locked";
    sandbox.brew.state.setBehaviour(QStringLiteral("list"), failing);
    sandbox.outliveCaches();

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->adoptedCask, rectangle.adoptedCask);
    EXPECT_TRUE(refreshed->alreadyAdopted);
    EXPECT_TRUE(sandbox.brew.capture.containsText(
        QStringLiteral("[ERROR] Failed to verify adoption status for Rectangle: ")));
}

TEST_F(AdoptedRectangle, RefreshKeepsTheAdoptionWhenTheCatalogueFails) {
    const Application rectangle = discoveredRectangle();
    sandbox.serveCatalogue(ServedRoute::bytes("busy", 500));

    const std::optional<Application> refreshed = sandbox.refresh(rectangle);

    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->adoptedCask, rectangle.adoptedCask);
    EXPECT_TRUE(refreshed->alreadyAdopted);
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::error, QStringLiteral("Failed to verify adoption status for Rectangle: ") +
                             BrewError::apiRequestFailed().description()));
}

TEST_F(AdoptedRectangle, RefreshOfAnApplicationNotAdoptedKeepsItsFieldsAndTakesFreshFacts) {
    Application maccy = named(sandbox.discover(), QStringLiteral("Maccy"));
    maccy.masApp =
        MASApp{QStringLiteral("1527619437"), QStringLiteral("Maccy"), QStringLiteral("2.0.0")};
    const QList<FakeBrewInvocation> before = sandbox.brew.state.invocations();
    sandbox.bundles.addBundle(QStringLiteral("Maccy.app"),
                              TestPropertyList::fromData(fixtureInfoPlist(QStringLiteral("Maccy")))
                                  .text("CFBundleShortVersionString", QStringLiteral("2.1.0"))
                                  .xml());

    const std::optional<Application> refreshed = sandbox.refresh(maccy);

    ASSERT_TRUE(refreshed);
    EXPECT_EQ(refreshed->shortVersion, QStringLiteral("2.1.0"));
    EXPECT_EQ(refreshed->id, maccy.id);
    EXPECT_EQ(refreshed->caskOptions, maccy.caskOptions);
    EXPECT_EQ(refreshed->masApp, maccy.masApp);
    EXPECT_FALSE(refreshed->adoptedCask);
    EXPECT_FALSE(refreshed->alreadyAdopted);
    EXPECT_EQ(sandbox.brew.state.invocations().size(), before.size());
    EXPECT_TRUE(sandbox.brew.capture.contains(
        LogLevel::info, QStringLiteral("Refreshed application bundle info for Maccy")));
}

TEST_F(AdoptedRectangle, RefreshOfAVanishedBundleGivesNothing) {
    const Application rectangle = discoveredRectangle();
    ASSERT_TRUE(QDir(rectangle.bundlePath).removeRecursively());

    EXPECT_FALSE(sandbox.refresh(rectangle));

    EXPECT_FALSE(sandbox.brew.capture.containsText(QStringLiteral("Refreshed application")));
}
