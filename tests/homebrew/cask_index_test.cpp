#include "homebrew/cask_index.h"

#include "cask_samples.h"
#include "catalogue_data.h"
#include "homebrew/cask_key.h"

#include <gtest/gtest.h>

using namespace tarnel;
using namespace Qt::StringLiterals;

namespace {

Cask cask(const QString& token, const QStringList& officialNames = {}) {
    return sampleCask(token, {}, {}, officialNames);
}

}  // namespace

// Key normalisation.

TEST(CaskKey, ReplacesAppDotsBlanksAndAmpersandsInThatOrder) {
    EXPECT_EQ(normaliseCaskKey(u"foo & bar.app"_s), u"foo-and-bar"_s);
}

TEST(CaskKey, SublimeTextAppAndSublimeTextReachTheSameKey) {
    EXPECT_EQ(normaliseCaskKey(u"Sublime Text.app"_s.toLower()),
              normaliseCaskKey(u"sublime-text"_s));
}

TEST(CaskKey, RemovesAppWhereverItStands) {
    // Literal replacement: ".app" inside a word goes too, before dots become hyphens.
    EXPECT_EQ(normaliseCaskKey(u"my.application"_s), u"mylication"_s);
    EXPECT_EQ(normaliseCaskKey(u"zoom.us"_s), u"zoom-us"_s);
}

TEST(CaskKey, LeavesCaseAsItIs) {
    EXPECT_EQ(normaliseCaskKey(u"Foo Bar"_s), u"Foo-Bar"_s);
}

// The lookups.

TEST(CaskIndex, EmptyCatalogueGivesEmptyLookups) {
    const CaskIndex index(parseCaskCatalogue("[]", false, QStringLiteral("/Applications")));
    EXPECT_TRUE(index.casks().isEmpty());
    EXPECT_TRUE(index.loweredTokens().isEmpty());
    EXPECT_EQ(index.lookupKeyCount(), 0);
    EXPECT_EQ(index.caskNameLookup(u"anything"_s), nullptr);
    EXPECT_TRUE(index.transformedNameLookup(u"anything"_s).isEmpty());
    EXPECT_TRUE(index.officialNameLookup(u"anything"_s).isEmpty());
    EXPECT_EQ(index.firstCaskWithToken(u"anything"_s), nullptr);
}

TEST(CaskIndex, DefaultIndexIsEmpty) {
    const CaskIndex index;
    EXPECT_TRUE(index.casks().isEmpty());
    EXPECT_EQ(index.lookupKeyCount(), 0);
}

TEST(CaskIndex, KeepsTheCatalogueOrder) {
    const CaskIndex index({cask(u"b"_s), cask(u"a"_s)});
    ASSERT_EQ(index.casks().size(), 2);
    EXPECT_EQ(index.casks()[0].name, u"b"_s);
    EXPECT_EQ(index.casks()[1].name, u"a"_s);
}

TEST(CaskIndex, FilesEachCaskUnderItsLowerCasedToken) {
    const CaskIndex index({cask(u"Firefox"_s)});
    ASSERT_NE(index.caskNameLookup(u"firefox"_s), nullptr);
    EXPECT_EQ(index.caskNameLookup(u"firefox"_s)->name, u"Firefox"_s);
    EXPECT_EQ(index.caskNameLookup(u"Firefox"_s), nullptr);
}

TEST(CaskIndex, LaterCaskWithTheSameLowerCasedTokenWinsTheNameLookup) {
    const CaskIndex index({cask(u"Foo"_s), cask(u"foo"_s)});
    EXPECT_EQ(index.lookupKeyCount(), 1);
    EXPECT_EQ(index.caskNameLookup(u"foo"_s), &index.casks()[1]);
}

TEST(CaskIndex, FindsTheFirstCaskWithATokenExactlyCaseIncluded) {
    const CaskIndex index({cask(u"foo"_s), cask(u"Foo"_s), cask(u"foo"_s)});
    EXPECT_EQ(index.firstCaskWithToken(u"foo"_s), &index.casks()[0]);
    EXPECT_EQ(index.firstCaskWithToken(u"Foo"_s), &index.casks()[1]);
    EXPECT_EQ(index.firstCaskWithToken(u"FOO"_s), nullptr);
}

TEST(CaskIndex, FindsTheFirstOfSeveralMixedCaseTokens) {
    const CaskIndex index({cask(u"Foo"_s), cask(u"foo"_s), cask(u"Foo"_s)});
    EXPECT_EQ(index.firstCaskWithToken(u"Foo"_s), &index.casks()[0]);
    EXPECT_EQ(index.firstCaskWithToken(u"foo"_s), &index.casks()[1]);
}

TEST(CaskIndex, KeepsTheLookupsApartUnderOneKey) {
    // "foo" is one cask's token and another's official name.
    const CaskIndex index({cask(u"foo"_s), cask(u"bar"_s, {u"Foo"_s})});
    EXPECT_EQ(index.caskNameLookup(u"foo"_s)->name, u"foo"_s);
    EXPECT_EQ(tokensOf(index.officialNameLookup(u"foo"_s)), QStringList{u"bar"_s});
    EXPECT_EQ(tokensOf(index.transformedNameLookup(u"foo"_s)), (QStringList{u"foo"_s, u"bar"_s}));
    EXPECT_EQ(index.caskNameLookup(u"bar"_s)->name, u"bar"_s);
    EXPECT_TRUE(index.officialNameLookup(u"bar"_s).isEmpty());
}

TEST(CaskIndex, FilesOfficialNamesLowerCased) {
    const CaskIndex index({cask(u"vscode"_s, {u"Visual Studio Code"_s, u"VS Code"_s})});
    EXPECT_EQ(tokensOf(index.officialNameLookup(u"visual studio code"_s)),
              QStringList{u"vscode"_s});
    EXPECT_EQ(tokensOf(index.officialNameLookup(u"vs code"_s)), QStringList{u"vscode"_s});
    EXPECT_TRUE(index.officialNameLookup(u"VS Code"_s).isEmpty());
}

TEST(CaskIndex, FilesTokenAndOfficialNamesUnderTheirNormalisedKeys) {
    const CaskIndex index({cask(u"vscode"_s, {u"Visual Studio Code"_s})});
    EXPECT_EQ(tokensOf(index.transformedNameLookup(u"vscode"_s)), QStringList{u"vscode"_s});
    EXPECT_EQ(tokensOf(index.transformedNameLookup(u"visual-studio-code"_s)),
              QStringList{u"vscode"_s});
}

TEST(CaskIndex, AppendsEveryCaskUnderASharedKeyInOrder) {
    const CaskIndex index(
        {cask(u"aerial"_s, {u"Aerial"_s}), cask(u"aerial@beta"_s, {u"Aerial"_s})});
    EXPECT_EQ(tokensOf(index.officialNameLookup(u"aerial"_s)),
              (QStringList{u"aerial"_s, u"aerial@beta"_s}));
}

TEST(CaskIndex, CaskWhoseTokenAndOfficialNameMeetStandsTwiceUnderTheKey) {
    const CaskIndex index({cask(u"sublime-text"_s, {u"Sublime Text"_s})});
    EXPECT_EQ(tokensOf(index.transformedNameLookup(u"sublime-text"_s)),
              (QStringList{u"sublime-text"_s, u"sublime-text"_s}));
}

TEST(CaskIndex, KeepsEachLowerCasedTokenWithItsCharacterCount) {
    // "é" written as e and a combining accent is one character of two code units.
    const CaskIndex index({cask(u"Cafe\u0301"_s), cask(u"ARC"_s)});
    ASSERT_EQ(index.loweredTokens().size(), 2);
    EXPECT_EQ(index.loweredTokens()[0].text, u"cafe\u0301"_s);
    EXPECT_EQ(index.loweredTokens()[0].characterCount, 4);
    EXPECT_EQ(index.loweredTokens()[1].text, u"arc"_s);
    EXPECT_EQ(index.loweredTokens()[1].characterCount, 3);
}

TEST(CaskIndex, CopiesOfItsCasksShareTheirLists) {
    const CaskIndex index({cask(u"shared"_s, {u"Shared"_s})});
    const Cask copy = index.casks().first();
    EXPECT_EQ(copy.officialNames.constData(), index.casks().first().officialNames.constData());
}

TEST(CaskIndex, IndexesTheSharedCatalogue) {
    const auto index = catalogueIndex();
    EXPECT_EQ(index->casks().size(), 4010);
    for (const Cask& entry : index->casks()) {
        ASSERT_EQ(index->caskNameLookup(entry.name.toLower()), &entry);
        ASSERT_EQ(index->firstCaskWithToken(entry.name), &entry);
    }
    EXPECT_EQ(index->firstCaskWithToken(u"visual-studio-code"_s)->name, u"visual-studio-code"_s);
    EXPECT_EQ(tokensOf(index->officialNameLookup(u"vs code"_s)),
              QStringList{u"visual-studio-code"_s});
    EXPECT_TRUE(tokensOf(index->transformedNameLookup(u"microsoft-visual-studio-code"_s))
                    .contains(u"visual-studio-code"_s));
}
