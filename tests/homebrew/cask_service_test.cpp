#include "catalogue_sandbox.h"

#include "cask_samples.h"
#include "homebrew/brew_error.h"
#include "homebrew/cask_error.h"
#include "homebrew/cask_index.h"
#include "homebrew/json_syntax_error.h"
#include "support/await.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace tarnel;

namespace {

QJsonObject caskObject(const QString& token, const QJsonObject& extra = {}) {
    QJsonObject object{{QStringLiteral("token"), token},
                       {QStringLiteral("version"), QStringLiteral("1.0")},
                       {QStringLiteral("name"), QJsonArray{token + QStringLiteral(" App")}}};
    for (auto it = extra.begin(); it != extra.end(); ++it) {
        object.insert(it.key(), it.value());
    }
    return object;
}

QByteArray catalogueOf(const QJsonArray& casks) {
    return QJsonDocument(casks).toJson(QJsonDocument::Compact);
}

// Two current casks, one deprecated and one disabled.
QByteArray mixedCatalogue() {
    return catalogueOf(
        {caskObject(QStringLiteral("alpha")),
         caskObject(QStringLiteral("old-alpha"), {{QStringLiteral("deprecated"), true}}),
         caskObject(QStringLiteral("gone-alpha"), {{QStringLiteral("disabled"), true}}),
         caskObject(QStringLiteral("beta"))});
}

QStringList tokensOf(const std::shared_ptr<const CaskIndex>& index) {
    return ::tokensOf(index->casks());
}

qsizetype countOf(const LogCapture& capture, LogLevel level, const QString& message) {
    return capture.lines().count(QStringLiteral("[%1] %2").arg(levelWord(level), message));
}

FakeBrewBehaviour printing(QByteArray output) {
    FakeBrewBehaviour behaviour;
    behaviour.exitStatus = 0;
    behaviour.standardOutput = std::move(output);
    return behaviour;
}

// A catalogue sandbox with fake-brew in place and the catalogue served.
class CaskServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        sandbox.installBrew();
        sandbox.serveCatalogue(mixedCatalogue());
    }

    std::shared_ptr<const CaskIndex> fetch(bool includeDeprecated) {
        return await(sandbox.caskService().fetchCasks(includeDeprecated));
    }

    QStringList installed() { return await(sandbox.caskService().fetchInstalledCasks()); }

    qsizetype listInvocationCount() const {
        return sandbox.state.invocationsOf(QStringLiteral("list")).size();
    }

    bool logged(const QString& message) const {
        return sandbox.capture.contains(LogLevel::info, message);
    }

    // Fills the cache, lets it age, has the refresh fail with `failure`, and
    // checks that the cache stands as it was before the failure.
    void expectFailedRefreshKeepsTheCache(const std::function<void()>& breakCatalogue,
                                          const std::function<void()>& fetchAndExpectError) {
        ASSERT_EQ(tokensOf(fetch(false)),
                  (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
        sandbox.clock.advance(1800);
        breakCatalogue();
        fetchAndExpectError();
        ASSERT_EQ(sandbox.catalogueRequestCount(), 2);

        // Back within the old lifetime, the old list and its lookups serve.
        sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("gamma"))}));
        sandbox.clock.advance(-1);
        sandbox.capture.clear();
        EXPECT_EQ(tokensOf(fetch(false)),
                  (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
        EXPECT_TRUE(logged(QStringLiteral("Using cached casks (2 items)")));
        EXPECT_NE(fetch(false)->caskNameLookup(QStringLiteral("alpha")), nullptr);
        EXPECT_EQ(sandbox.catalogueRequestCount(), 2);

        // The failure did not renew the date: at the old lifetime it refetches.
        sandbox.clock.advance(1);
        EXPECT_EQ(tokensOf(fetch(false)), QStringList{QStringLiteral("gamma")});
        EXPECT_EQ(sandbox.catalogueRequestCount(), 3);
    }

    CatalogueSandbox sandbox;
};

}  // namespace

TEST_F(CaskServiceTest, DeprecatedCaskIsMissingWithoutDeprecatedCasks) {
    EXPECT_FALSE(tokensOf(fetch(false)).contains(QStringLiteral("old-alpha")));
}

TEST_F(CaskServiceTest, DeprecatedCaskIsPresentWithDeprecatedCasks) {
    EXPECT_TRUE(tokensOf(fetch(true)).contains(QStringLiteral("old-alpha")));
}

TEST_F(CaskServiceTest, DisabledCaskIsMissingWithoutDeprecatedCasks) {
    EXPECT_FALSE(tokensOf(fetch(false)).contains(QStringLiteral("gone-alpha")));
}

TEST_F(CaskServiceTest, DisabledCaskIsPresentWithDeprecatedCasks) {
    EXPECT_TRUE(tokensOf(fetch(true)).contains(QStringLiteral("gone-alpha")));
}

TEST_F(CaskServiceTest, ParsedCatalogueIsLoggedWithItsCount) {
    EXPECT_EQ(tokensOf(fetch(false)),
              (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
    EXPECT_TRUE(logged(QStringLiteral("Parsed 2 casks from API")));
    EXPECT_TRUE(logged(QStringLiteral("Fetching casks from Homebrew API")));
}

TEST_F(CaskServiceTest, CatalogueWithDeprecatedCasksIsLoggedWithItsCount) {
    EXPECT_EQ(fetch(true)->casks().size(), 4);
    EXPECT_TRUE(logged(QStringLiteral("Parsed 4 casks from API (including deprecated)")));
    EXPECT_FALSE(logged(QStringLiteral("Parsed 4 casks from API")));
}

TEST_F(CaskServiceTest, EmptyCatalogueIsCachedLikeAnyOther) {
    sandbox.serveCatalogue("[]");
    const std::shared_ptr<const CaskIndex> first = fetch(false);
    EXPECT_TRUE(first->casks().isEmpty());
    EXPECT_EQ(first->lookupKeyCount(), 0);
    EXPECT_TRUE(logged(QStringLiteral("Parsed 0 casks from API")));

    sandbox.clock.advance(1799);
    EXPECT_TRUE(fetch(false)->casks().isEmpty());
    EXPECT_TRUE(logged(QStringLiteral("Using cached casks (0 items)")));
    EXPECT_EQ(sandbox.catalogueRequestCount(), 1);
}

TEST_F(CaskServiceTest, CatalogueIsServedFromTheCacheJustBeforeItsLifetime) {
    const std::shared_ptr<const CaskIndex> first = fetch(false);
    sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("gamma"))}));
    sandbox.clock.advance(1799);
    const std::shared_ptr<const CaskIndex> second = fetch(false);
    EXPECT_EQ(second, first);
    EXPECT_EQ(sandbox.catalogueRequestCount(), 1);
    EXPECT_EQ(
        countOf(sandbox.capture, LogLevel::info, QStringLiteral("Using cached casks (2 items)")),
        1);
}

TEST_F(CaskServiceTest, CatalogueIsFetchedAgainAtItsLifetime) {
    fetch(false);
    sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("gamma"))}));
    sandbox.clock.advance(1800);
    EXPECT_EQ(tokensOf(fetch(false)), QStringList{QStringLiteral("gamma")});
    EXPECT_EQ(sandbox.catalogueRequestCount(), 2);
    EXPECT_TRUE(logged(QStringLiteral("Parsed 1 casks from API")));
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("Using cached casks")));
}

TEST_F(CaskServiceTest, RefetchedCatalogueRenewsTheLookups) {
    fetch(false);
    sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("gamma"))}));
    sandbox.clock.advance(1800);
    fetch(false);
    EXPECT_EQ(await(sandbox.caskService().findCaskByToken(QStringLiteral("alpha"))), std::nullopt);
    EXPECT_TRUE(await(sandbox.caskService().findCaskByToken(QStringLiteral("gamma"))));
}

TEST_F(CaskServiceTest, CatalogueWithDeprecatedCasksIsDownloadedEveryTime) {
    fetch(true);
    fetch(true);
    EXPECT_EQ(sandbox.catalogueRequestCount(), 2);
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("Using cached casks")));
}

TEST_F(CaskServiceTest, CatalogueWithDeprecatedCasksDoesNotFillTheCache) {
    fetch(true);
    EXPECT_EQ(tokensOf(fetch(false)),
              (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
    EXPECT_EQ(sandbox.catalogueRequestCount(), 2);
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("Using cached casks")));
}

TEST_F(CaskServiceTest, CatalogueWithDeprecatedCasksLeavesTheCacheAndLookupsAsTheyAre) {
    fetch(false);
    sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("gamma"))}));
    EXPECT_EQ(tokensOf(fetch(true)), QStringList{QStringLiteral("gamma")});

    EXPECT_EQ(tokensOf(fetch(false)),
              (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
    EXPECT_TRUE(logged(QStringLiteral("Using cached casks (2 items)")));
    EXPECT_TRUE(await(sandbox.caskService().findCaskByToken(QStringLiteral("alpha"))));
    EXPECT_EQ(await(sandbox.caskService().findCaskByToken(QStringLiteral("gamma"))), std::nullopt);
}

TEST_F(CaskServiceTest, FailedDownloadReachesTheCallerAndKeepsTheOldCache) {
    expectFailedRefreshKeepsTheCache([this] { sandbox.serveCatalogue("[]", 500); },
                                     [this] {
                                         try {
                                             fetch(false);
                                             ADD_FAILURE() << "a status of 500 was accepted";
                                         } catch (const BrewError& error) {
                                             EXPECT_EQ(error.kind(),
                                                       BrewError::Kind::apiRequestFailed);
                                         }
                                     });
}

TEST_F(CaskServiceTest, MalformedCatalogueReachesTheCallerAndKeepsTheOldCache) {
    expectFailedRefreshKeepsTheCache(
        [this] { sandbox.serveCatalogue("[{\"token\": \"alpha\", \"version\": "); },
        [this] { EXPECT_THROW(fetch(false), JSONSyntaxError); });
}

TEST_F(CaskServiceTest, CatalogueThatIsNoArrayReachesTheCallerAndKeepsTheOldCache) {
    expectFailedRefreshKeepsTheCache([this] { sandbox.serveCatalogue("{\"casks\": []}"); },
                                     [this] {
                                         try {
                                             fetch(false);
                                             ADD_FAILURE() << "an object was accepted";
                                         } catch (const CaskError& error) {
                                             EXPECT_EQ(error.errorCase(),
                                                       CaskError::Case::invalidAPIResponse);
                                         }
                                     });
}

TEST_F(CaskServiceTest, StaleCacheIsNeverServedWhenTheRefreshFails) {
    fetch(false);
    sandbox.clock.advance(1800);
    sandbox.serveCatalogue("[]", 500);
    EXPECT_THROW(fetch(false), BrewError);
    EXPECT_THROW(fetch(false), BrewError);
    EXPECT_FALSE(sandbox.capture.containsText(QStringLiteral("Using cached casks")));
}

TEST_F(CaskServiceTest, FindCaskByTokenMatchesTheExactToken) {
    const std::optional<Cask> cask =
        await(sandbox.caskService().findCaskByToken(QStringLiteral("beta")));
    ASSERT_TRUE(cask);
    EXPECT_EQ(cask->name, QStringLiteral("beta"));
}

TEST_F(CaskServiceTest, FindCaskByTokenIgnoresATokenInAnotherCase) {
    EXPECT_EQ(await(sandbox.caskService().findCaskByToken(QStringLiteral("Beta"))), std::nullopt);
}

TEST_F(CaskServiceTest, FindCaskByTokenFindsAMixedCaseTokenOnlyAsItIsWritten) {
    sandbox.serveCatalogue(catalogueOf({caskObject(QStringLiteral("Mixed-Case"))}));
    EXPECT_TRUE(await(sandbox.caskService().findCaskByToken(QStringLiteral("Mixed-Case"))));
    EXPECT_EQ(await(sandbox.caskService().findCaskByToken(QStringLiteral("mixed-case"))),
              std::nullopt);
}

TEST_F(CaskServiceTest, FindCaskByTokenLeavesOutDeprecatedCasks) {
    EXPECT_EQ(await(sandbox.caskService().findCaskByToken(QStringLiteral("old-alpha"))),
              std::nullopt);
}

TEST_F(CaskServiceTest, FindCaskByTokenUsesTheCachedCatalogue) {
    fetch(false);
    await(sandbox.caskService().findCaskByToken(QStringLiteral("beta")));
    EXPECT_EQ(sandbox.catalogueRequestCount(), 1);
    EXPECT_TRUE(logged(QStringLiteral("Using cached casks (2 items)")));
}

TEST_F(CaskServiceTest, InstalledCasksAreTheTokensThatBrewLists) {
    sandbox.state.setInstalledVersion(QStringLiteral("firefox"), QStringLiteral("150.0"));
    sandbox.state.setInstalledVersion(QStringLiteral("alpha"), QStringLiteral("1.0"));
    EXPECT_EQ(installed(), (QStringList{QStringLiteral("alpha"), QStringLiteral("firefox")}));
    EXPECT_TRUE(logged(QStringLiteral("Found 2 installed casks")));
    const QList<FakeBrewInvocation> invocations = sandbox.state.invocations();
    ASSERT_EQ(invocations.size(), 1);
    EXPECT_EQ(invocations.first().arguments,
              (QStringList{QStringLiteral("list"), QStringLiteral("--cask")}));
}

TEST_F(CaskServiceTest, InstalledListWithBlankLinesGivesNoEmptyTokens) {
    sandbox.state.setBehaviour(QStringLiteral("list"),
                               printing("\nalpha\n\n   \n\t beta \n\n\ngamma\n\n"));
    EXPECT_EQ(installed(), (QStringList{QStringLiteral("alpha"), QStringLiteral("beta"),
                                        QStringLiteral("gamma")}));
    EXPECT_TRUE(logged(QStringLiteral("Found 3 installed casks")));
}

TEST_F(CaskServiceTest, EmptyInstalledListGivesNoTokens) {
    EXPECT_TRUE(installed().isEmpty());
    EXPECT_TRUE(logged(QStringLiteral("Found 0 installed casks")));
}

TEST_F(CaskServiceTest, InstalledCasksAreServedFromTheCacheJustBeforeTheirLifetime) {
    sandbox.state.setInstalledVersion(QStringLiteral("alpha"), QStringLiteral("1.0"));
    installed();
    sandbox.state.setInstalledVersion(QStringLiteral("beta"), QStringLiteral("1.0"));
    sandbox.clock.advance(299);
    sandbox.capture.clear();
    EXPECT_EQ(installed(), QStringList{QStringLiteral("alpha")});
    EXPECT_EQ(listInvocationCount(), 1);
    // The cached list is returned without a word.
    EXPECT_TRUE(sandbox.capture.entries().isEmpty());
}

TEST_F(CaskServiceTest, InstalledCasksAreListedAgainAtTheirLifetime) {
    sandbox.state.setInstalledVersion(QStringLiteral("alpha"), QStringLiteral("1.0"));
    installed();
    sandbox.state.setInstalledVersion(QStringLiteral("beta"), QStringLiteral("1.0"));
    sandbox.clock.advance(300);
    EXPECT_EQ(installed(), (QStringList{QStringLiteral("alpha"), QStringLiteral("beta")}));
    EXPECT_EQ(listInvocationCount(), 2);
    EXPECT_TRUE(logged(QStringLiteral("Found 2 installed casks")));
}

TEST_F(CaskServiceTest, FailedInstalledListReachesTheCallerAndIsNotCached) {
    FakeBrewBehaviour failure;
    failure.exitStatus = 1;
    failure.standardError = "Error: broken";
    // The first call fails twice, with the retry that the permission brings.
    sandbox.state.setBehaviours(QStringLiteral("list"), {failure, failure, printing("alpha\n")});
    try {
        installed();
        ADD_FAILURE() << "a failed listing was accepted";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::commandFailed);
    }
    EXPECT_EQ(installed(), QStringList{QStringLiteral("alpha")});
}

TEST(CaskService, InstalledCasksWithoutBrewIsHomebrewNotFound) {
    BrewSandbox sandbox;
    try {
        await(sandbox.caskService().fetchInstalledCasks());
        ADD_FAILURE() << "listing without brew succeeded";
    } catch (const BrewError& error) {
        EXPECT_EQ(error.kind(), BrewError::Kind::homebrewNotFound);
    }
}
