#include "appcast/appcast_test_support.h"

#include "platform/appcast/appcast_xml_reader.h"

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

const char* const goodItem =
    R"(<item><enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/></item>)";

}  // namespace

TEST(AppcastHostileFeed, RefusesEntityExpansion) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<!DOCTYPE rss [
  <!ENTITY a "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa">
  <!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;">
  <!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;">
  <!ENTITY d "&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;&c;">
]>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><item><title>&d;</title>
<enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/></item></channel></rss>)";
    EXPECT_TRUE(rejectsFeed(feed, u"document type"));
}

TEST(AppcastHostileFeed, RefusesAnExternalEntity) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<!DOCTYPE rss [<!ENTITY secret SYSTEM "file:///etc/passwd">]>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><item><title>&secret;</title>
<enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/></item></channel></rss>)";
    EXPECT_TRUE(rejectsFeed(feed, u"document type"));
}

TEST(AppcastHostileFeed, RefusesAnUndeclaredEntity) {
    EXPECT_TRUE(rejectsFeed(feedWithItems(QStringLiteral(
                                R"(<item><title>Editor &middot; 2</title>
<enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/></item>)")),
                            u"middot"));
}

TEST(AppcastHostileFeed, RefusesAFeedPastTheSizeCap) {
    // Well-formed throughout, so that only the size can fail it.
    QByteArray feed = feedWithItems(QString::fromUtf8(goodItem));
    feed.append("<!--").append(QByteArray(50 * 1024 * 1024, 'x')).append("-->");
    EXPECT_TRUE(rejectsFeed(feed, u"larger than"));
}

TEST(AppcastHostileFeed, ReadsAFeedAtTheSizeCap) {
    QByteArray feed = feedWithItems(QString::fromUtf8(goodItem));
    const qsizetype padding = maximumAppcastSize - feed.size() - 7;
    feed.append("<!--").append(QByteArray(padding, 'x')).append("-->");
    ASSERT_EQ(feed.size(), maximumAppcastSize);
    EXPECT_EQ(parseTestFeed(feed).items.size(), 1);
}

TEST(AppcastHostileFeed, KeepsAnItemWithABadDateWithoutItsDate) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <pubDate>Lun, 32 Ene 2021 99:00:00 +0000</pubDate>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)"));
    EXPECT_EQ(item.versionString, u"2");
    EXPECT_EQ(item.date, std::nullopt);
}

TEST(AppcastHostileFeed, RejectsTheFeedForAFileEnclosure) {
    EXPECT_TRUE(rejectsFeed(
        feedWithItems(
            QString::fromUtf8(goodItem) +
            QStringLiteral(
                R"(<item><enclosure url="file:///etc/passwd" sparkle:version="3"/></item>)")),
        u"file:///etc/passwd"));
}

TEST(AppcastHostileFeed, RejectsAFeedWithoutTheNamespaceDeclaration) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<rss version="2.0"><channel><item>
  <sparkle:version>2</sparkle:version>
  <enclosure url="https://dl.example.org/Editor.zip"/>
</item></channel></rss>)";
    EXPECT_TRUE(rejectsFeed(feed, u"sparkle"));
}

TEST(AppcastHostileFeed, RefusesDeepNesting) {
    QString nested;
    for (int level = 0; level < 100'000; ++level) {
        nested += QStringLiteral("<b>");
    }
    EXPECT_TRUE(
        rejectsFeed(feedWithItems(QStringLiteral("<item><description>") + nested), u"nested"));
}

TEST(AppcastHostileFeed, RefusesTooManyItems) {
    QString items;
    for (qsizetype count = 0; count <= maximumAppcastItems; ++count) {
        items += QString::fromUtf8(goodItem);
    }
    EXPECT_TRUE(rejectsFeed(feedWithItems(items), u"items"));
}

TEST(AppcastHostileFeed, RefusesTextBeforeTheDeclaration) {
    EXPECT_TRUE(rejectsFeed(" " + feedWithItems(QString::fromUtf8(goodItem))));
}

TEST(AppcastHostileFeed, CutsALongTitleShortInTheItemsWarnings) {
    const QString title(100'000, u't');
    const Appcast appcast = parseTestFeed(feedWithItems(QStringLiteral(R"(<item>
  <title>%1</title>
  <sparkle:channel>beta 2</sparkle:channel>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")
                                                            .arg(title)));
    ASSERT_EQ(appcast.warnings.size(), 1);
    EXPECT_LT(appcast.warnings[0].size(), 200) << appcast.warnings[0].toStdString();
    EXPECT_TRUE(appcast.warnings[0].contains(title.first(40)));
}

TEST(AppcastHostileFeed, WarnsOnceForEachOfManyElementsGivenTwiceWithoutALanguage) {
    QString copies;
    qsizetype names = 0;
    while (copies.size() < maximumAppcastSize - 1024) {
        copies += QStringLiteral("<a%1/><a%1/>").arg(++names);
    }
    const Appcast appcast = parseTestFeed(feedWithItems(QStringLiteral(R"(<item>%1
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")
                                                            .arg(copies)));
    EXPECT_EQ(appcast.warnings.size(), names);
}
