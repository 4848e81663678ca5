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
    const CaskIndex index(parseCaskCatalogue("[]", false));
    EXPECT_TRUE(index.casks().isEmpty());
    EXPECT_TRUE(index.loweredTokens().isEmpty());
    EXPECT_TRUE(index.caskNameLookup().isEmpty());
    EXPECT_TRUE(index.transformedNameLookup().isEmpty());
    EXPECT_TRUE(index.officialNameLookup().isEmpty());
    EXPECT_EQ(index.firstCaskWithToken(u"anything"_s), nullptr);
}

TEST(CaskIndex, DefaultIndexIsEmpty) {
    const CaskIndex index;
    EXPECT_TRUE(index.casks().isEmpty());
    EXPECT_TRUE(index.caskNameLookup().isEmpty());
}

TEST(CaskIndex, KeepsTheCatalogueOrder) {
    const CaskIndex index({cask(u"b"_s), cask(u"a"_s)});
    ASSERT_EQ(index.casks().size(), 2);
    EXPECT_EQ(index.casks()[0].name, u"b"_s);
    EXPECT_EQ(index.casks()[1].name, u"a"_s);
}

TEST(CaskIndex, FilesEachCaskUnderItsLowerCasedToken) {
    const CaskIndex index({cask(u"Firefox"_s)});
    ASSERT_TRUE(index.caskNameLookup().contains(u"firefox"_s));
    EXPECT_EQ(index.caskNameLookup().value(u"firefox"_s)->name, u"Firefox"_s);
    EXPECT_FALSE(index.caskNameLookup().contains(u"Firefox"_s));
}

TEST(CaskIndex, LaterCaskWithTheSameLowerCasedTokenWinsTheNameLookup) {
    const CaskIndex index({cask(u"Foo"_s), cask(u"foo"_s)});
    EXPECT_EQ(index.caskNameLookup().size(), 1);
    EXPECT_EQ(index.caskNameLookup().value(u"foo"_s), &index.casks()[1]);
}

TEST(CaskIndex, FindsTheFirstCaskWithATokenExactlyCaseIncluded) {
    const CaskIndex index({cask(u"foo"_s), cask(u"Foo"_s), cask(u"foo"_s)});
    EXPECT_EQ(index.firstCaskWithToken(u"foo"_s), &index.casks()[0]);
    EXPECT_EQ(index.firstCaskWithToken(u"Foo"_s), &index.casks()[1]);
    EXPECT_EQ(index.firstCaskWithToken(u"FOO"_s), nullptr);
}

TEST(CaskIndex, FilesOfficialNamesLowerCased) {
    const CaskIndex index({cask(u"vscode"_s, {u"Visual Studio Code"_s, u"VS Code"_s})});
    EXPECT_EQ(tokensOf(index.officialNameLookup().value(u"visual studio code"_s)),
              QStringList{u"vscode"_s});
    EXPECT_EQ(tokensOf(index.officialNameLookup().value(u"vs code"_s)), QStringList{u"vscode"_s});
    EXPECT_FALSE(index.officialNameLookup().contains(u"VS Code"_s));
}

TEST(CaskIndex, FilesTokenAndOfficialNamesUnderTheirNormalisedKeys) {
    const CaskIndex index({cask(u"vscode"_s, {u"Visual Studio Code"_s})});
    EXPECT_TRUE(index.transformedNameLookup().contains(u"vscode"_s));
    EXPECT_TRUE(index.transformedNameLookup().contains(u"visual-studio-code"_s));
}

TEST(CaskIndex, AppendsEveryCaskUnderASharedKeyInOrder) {
    const CaskIndex index(
        {cask(u"aerial"_s, {u"Aerial"_s}), cask(u"aerial@beta"_s, {u"Aerial"_s})});
    EXPECT_EQ(tokensOf(index.officialNameLookup().value(u"aerial"_s)),
              (QStringList{u"aerial"_s, u"aerial@beta"_s}));
}

TEST(CaskIndex, CaskWhoseTokenAndOfficialNameMeetStandsTwiceUnderTheKey) {
    const CaskIndex index({cask(u"sublime-text"_s, {u"Sublime Text"_s})});
    EXPECT_EQ(tokensOf(index.transformedNameLookup().value(u"sublime-text"_s)),
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
    EXPECT_EQ(index->caskNameLookup().size(), 4010);
    EXPECT_EQ(index->firstCaskWithToken(u"visual-studio-code"_s)->name, u"visual-studio-code"_s);
    EXPECT_EQ(tokensOf(index->officialNameLookup().value(u"vs code"_s)),
              QStringList{u"visual-studio-code"_s});
    EXPECT_TRUE(tokensOf(index->transformedNameLookup().value(u"microsoft-visual-studio-code"_s))
                    .contains(u"visual-studio-code"_s));
}
