#include "appcast/appcast_test_support.h"

#include <QTimeZone>

#include <gtest/gtest.h>

using namespace tarnel;

namespace {

QUrl url(const char* text) {
    return QUrl(QString::fromUtf8(text));
}

const char* const fullItem = R"(
<item>
  <title>Editor 4.0 beta 2</title>
  <pubDate>Tue, 04 Mar 2025 10:00:00 +0000</pubDate>
  <link>https://example.org/editor</link>
  <sparkle:version>400.2</sparkle:version>
  <sparkle:shortVersionString>4.0b2</sparkle:shortVersionString>
  <sparkle:channel>beta</sparkle:channel>
  <sparkle:minimumSystemVersion>12.0.0</sparkle:minimumSystemVersion>
  <sparkle:maximumSystemVersion>16.0.0</sparkle:maximumSystemVersion>
  <sparkle:minimumAutoupdateVersion>400</sparkle:minimumAutoupdateVersion>
  <sparkle:minimumUpdateVersion>300</sparkle:minimumUpdateVersion>
  <sparkle:hardwareRequirements> arm64 , </sparkle:hardwareRequirements>
  <sparkle:criticalUpdate sparkle:version="310"/>
  <sparkle:phasedRolloutInterval>43200</sparkle:phasedRolloutInterval>
  <sparkle:informationalUpdate><sparkle:belowVersion>300</sparkle:belowVersion></sparkle:informationalUpdate>
  <sparkle:releaseNotesLink>notes/4.0b2.html</sparkle:releaseNotesLink>
  <sparkle:fullReleaseNotesLink>https://example.org/history</sparkle:fullReleaseNotesLink>
  <description sparkle:format="markdown"><![CDATA[* faster start-up]]></description>
  <enclosure url="https://dl.example.org/Editor-4.0b2.tar.xz" length="4100000"
             type="application/octet-stream" sparkle:edSignature="c2lnbmF0dXJl"
             sparkle:installationType="application"/>
</item>)";

}  // namespace

TEST(AppcastParser, ReadsEveryFieldOfAFullItem) {
    const AppcastItem item = parseTestItem(QString::fromUtf8(fullItem));

    AppcastItem expected;
    expected.title = QStringLiteral("Editor 4.0 beta 2");
    expected.date = QDateTime(QDate(2025, 3, 4), QTime(10, 0), QTimeZone::utc());
    expected.infoURL = url("https://example.org/editor");
    expected.itemDescription = QStringLiteral("* faster start-up");
    expected.descriptionFormat = AppcastItem::DescriptionFormat::markdown;
    expected.releaseNotesURL = url("https://updates.example.org/app/notes/4.0b2.html");
    expected.fullReleaseNotesURL = url("https://example.org/history");
    expected.versionString = QStringLiteral("400.2");
    expected.displayVersionString = QStringLiteral("4.0b2");
    expected.enclosure = AppcastEnclosure{url("https://dl.example.org/Editor-4.0b2.tar.xz"),
                                          4100000, QStringLiteral("application/octet-stream"),
                                          QStringLiteral("c2lnbmF0dXJl"), std::nullopt};
    expected.channel = QStringLiteral("beta");
    expected.minimumSystemVersion = QStringLiteral("12.0.0");
    expected.maximumSystemVersion = QStringLiteral("16.0.0");
    expected.minimumAutoupdateVersion = QStringLiteral("400");
    expected.minimumUpdateVersion = QStringLiteral("300");
    expected.hardwareRequirements = {QStringLiteral("arm64")};
    expected.isMarkedCritical = true;
    expected.criticalBelowVersion = QStringLiteral("310");
    expected.phasedRolloutInterval = 43200;
    expected.informationalUpdate = InformationalUpdateRule{{}, {QStringLiteral("300")}};
    EXPECT_EQ(item, expected);
}

TEST(AppcastParser, RecognisesTheSparkleNamespaceUnderAnyPrefix) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<rss version="2.0" xmlns:su="http://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><item>
  <su:version>7</su:version>
  <enclosure url="https://dl.example.org/Editor.zip" su:shortVersionString="1.7"/>
</item></channel></rss>)";
    const AppcastItem item = parseTestFeed(feed).items.value(0);
    EXPECT_EQ(item.versionString, u"7");
    EXPECT_EQ(item.displayVersionString, u"1.7");
}

TEST(AppcastParser, IgnoresTheSparklePrefixBoundToAnotherNamespace) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<rss version="2.0" xmlns:sparkle="https://www.andymatuschak.org/xml-namespaces/sparkle">
<channel><item>
  <sparkle:version>9.9</sparkle:version>
  <enclosure url="https://dl.example.org/Editor_1.2.zip"/>
</item></channel></rss>)";
    EXPECT_EQ(parseTestFeed(feed).items.value(0).versionString, u"1.2");
}

TEST(AppcastParser, PrefersTheEnclosureVersionsToTheElements) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <sparkle:version>1</sparkle:version>
  <sparkle:shortVersionString>1.0</sparkle:shortVersionString>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"
             sparkle:shortVersionString="2.0"/>
</item>)"));
    EXPECT_EQ(item.versionString, u"2");
    EXPECT_EQ(item.displayVersionString, u"2.0");
}

TEST(AppcastParser, GuessesAMissingVersionFromTheEnclosureFileName) {
    const AppcastItem item = parseTestItem(QStringLiteral(
        R"(<item><enclosure url="https://dl.example.org/Editor_1.3.4.zip"/></item>)"));
    EXPECT_EQ(item.versionString, u"1.3.4");
}

TEST(AppcastParser, ShowsTheVersionWhenThereIsNoShortVersion) {
    const AppcastItem item = parseTestItem(QStringLiteral(
        R"(<item><enclosure url="https://dl.example.org/Editor.zip" sparkle:version="812"/></item>)"));
    EXPECT_EQ(item.displayVersionString, u"812");
}

TEST(AppcastParser, ResolvesRelativeAddressesAgainstTheFeedsFinalURL) {
    const Appcast appcast =
        parseAppcast(feedWithItems(QStringLiteral(R"(<item>
  <link>../about.html</link>
  <sparkle:releaseNotesLink>notes/2.html</sparkle:releaseNotesLink>
  <enclosure url="Editor 2.zip" sparkle:version="2"/>
</item>)")),
                     url("https://cdn.example.net/feeds/editor/appcast.xml"), {});
    const AppcastItem& item = appcast.items.value(0);
    EXPECT_EQ(item.infoURL, url("https://cdn.example.net/feeds/about.html"));
    EXPECT_EQ(item.releaseNotesURL, url("https://cdn.example.net/feeds/editor/notes/2.html"));
    ASSERT_TRUE(item.enclosure);
    EXPECT_EQ(item.enclosure->url, url("https://cdn.example.net/feeds/editor/Editor%202.zip"));
}

TEST(AppcastParser, ReadsAPlainHttpEnclosure) {
    const AppcastItem item = parseTestItem(QStringLiteral(
        R"(<item><enclosure url="http://dl.example.org/Editor.zip" sparkle:version="2"/></item>)"));
    ASSERT_TRUE(item.enclosure);
    EXPECT_EQ(item.enclosure->url, url("http://dl.example.org/Editor.zip"));
}

TEST(AppcastParser, DropsALinkThatIsNotAWebAddressWithAWarning) {
    const Appcast appcast = parseTestFeed(feedWithItems(QStringLiteral(R"(<item>
  <link>javascript:alert(1)</link>
  <sparkle:releaseNotesLink>file:///etc/passwd</sparkle:releaseNotesLink>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")));
    const AppcastItem& item = appcast.items.value(0);
    EXPECT_EQ(item.infoURL, std::nullopt);
    EXPECT_EQ(item.releaseNotesURL, std::nullopt);
    EXPECT_EQ(appcast.warnings.size(), 2);
}

TEST(AppcastParser, TakesADescriptionThatIsAnAddressForTheReleaseNotes) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <description>
    https://example.org/notes/2.html
  </description>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)"));
    EXPECT_EQ(item.releaseNotesURL, url("https://example.org/notes/2.html"));
    EXPECT_EQ(item.fullReleaseNotesURL, url("https://example.org/notes/2.html"));
}

TEST(AppcastParser, KeepsTheDescriptionAsWritten) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <description>
  <![CDATA[<p>Faster</p>]]>
  </description>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)"));
    EXPECT_EQ(item.itemDescription, QStringLiteral("\n  <p>Faster</p>\n  "));
    EXPECT_EQ(item.descriptionFormat, AppcastItem::DescriptionFormat::html);
}

TEST(AppcastParser, PutsAMisspeltChannelOnTheDefaultChannelWithAWarning) {
    const Appcast appcast = parseTestFeed(feedWithItems(QStringLiteral(R"(<item>
  <sparkle:channel>beta 2</sparkle:channel>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")));
    EXPECT_EQ(appcast.items.value(0).channel, std::nullopt);
    EXPECT_EQ(appcast.warnings.size(), 1);
}

TEST(AppcastParser, PutsAnEmptyChannelOnTheDefaultChannel) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <sparkle:channel></sparkle:channel>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)"));
    EXPECT_EQ(item.channel, std::nullopt);
}

TEST(AppcastParser, ReadsTheLegacyCriticalTag) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <sparkle:tags> <sparkle:criticalUpdate/> </sparkle:tags>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)"));
    EXPECT_TRUE(item.isMarkedCritical);
    EXPECT_EQ(item.criticalBelowVersion, QString());
}

TEST(AppcastParser, TakesAMissingOrNonPositiveLengthAsUnknown) {
    const Appcast appcast = parseTestFeed(feedWithItems(QStringLiteral(R"(
<item><enclosure url="https://dl.example.org/A.zip" sparkle:version="1" length="-5"/></item>
<item><enclosure url="https://dl.example.org/B.zip" sparkle:version="2" length="many"/></item>
<item><enclosure url="https://dl.example.org/C.zip" sparkle:version="3"/></item>)")));
    ASSERT_EQ(appcast.items.size(), 3);
    for (const AppcastItem& item : appcast.items) {
        ASSERT_TRUE(item.enclosure);
        EXPECT_EQ(item.enclosure->contentLength, 0) << item.versionString.toStdString();
    }
}

TEST(AppcastParser, TakesAPackageSuffixForAPackageInstallation) {
    const AppcastItem item = parseTestItem(QStringLiteral(
        R"(<item><enclosure url="https://dl.example.org/Editor.PKG" sparkle:version="2"/></item>)"));
    EXPECT_EQ(item.installationType, AppcastItem::InstallationType::package);
}

TEST(AppcastParser, ReadsAnEnclosureWithoutURLBesideALinkAsNoDownload) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <link>https://example.org/editor</link>
  <enclosure sparkle:version="2"/>
</item>)"));
    EXPECT_EQ(item.enclosure, std::nullopt);
    EXPECT_EQ(item.versionString, u"2");
}

TEST(AppcastParser, NeverTakesADeltaForTheMainDownload) {
    const AppcastItem item = parseTestItem(QStringLiteral(R"(<item>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="3"/>
  <sparkle:deltas>
    <enclosure url="https://dl.example.org/2-3.delta" sparkle:deltaFrom="2"/>
  </sparkle:deltas>
</item>)"));
    ASSERT_TRUE(item.enclosure);
    EXPECT_EQ(item.enclosure->url, url("https://dl.example.org/Editor.zip"));
    EXPECT_EQ(item.deltaFrom, std::nullopt);
}

TEST(AppcastParser, ReadsTheCopyInThePreferredLanguage) {
    const Appcast appcast =
        parseAppcast(feedWithItems(QStringLiteral(R"(<item>
  <title>Editor 2</title>
  <title xml:lang="de">Editor 2 (Deutsch)</title>
  <title xml:lang="fr">Editor 2 (fran&#231;ais)</title>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")),
                     testFeedURL(), {QStringLiteral("de-AT"), QStringLiteral("en")});
    EXPECT_EQ(appcast.items.value(0).title, u"Editor 2 (Deutsch)");
}

TEST(AppcastParser, CountsACopyWithoutLanguageAsEnglishWithAWarning) {
    const Appcast appcast = parseAppcast(feedWithItems(QStringLiteral(R"(<item>
  <title xml:lang="de">Editor 2 (Deutsch)</title>
  <title>Editor 2</title>
  <enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/>
</item>)")),
                                         testFeedURL(), {QStringLiteral("en-GB")});
    EXPECT_EQ(appcast.items.value(0).title, u"Editor 2");
    EXPECT_EQ(appcast.warnings.size(), 1);
}

TEST(AppcastParser, ReadsOnlyItemsOfTheChannel) {
    const QByteArray feed = R"(<?xml version="1.0"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
<item><enclosure url="https://dl.example.org/A.zip" sparkle:version="9"/></item>
<channel>
  <image><item><enclosure url="https://dl.example.org/B.zip" sparkle:version="8"/></item></image>
  <item><enclosure url="https://dl.example.org/C.zip" sparkle:version="1"/></item>
</channel></rss>)";
    const Appcast appcast = parseTestFeed(feed);
    ASSERT_EQ(appcast.items.size(), 1);
    EXPECT_EQ(appcast.items[0].versionString, u"1");
}

TEST(AppcastParser, ReadsAFeedWithoutItems) {
    EXPECT_TRUE(parseTestFeed(feedWithItems(QString())).items.isEmpty());
}

// One item that cannot be built rejects the whole feed.

TEST(AppcastParser, RejectsTheFeedForAnItemWithoutVersion) {
    EXPECT_TRUE(rejectsFeed(feedWithItems(QStringLiteral(R"(
<item><enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"/></item>
<item><title>Broken</title><enclosure url="https://dl.example.org/Editor.zip"/></item>)")),
                            u"item 2 (\u201cBroken\u201d)"));
}

TEST(AppcastParser, RejectsTheFeedForAnItemWithNeitherEnclosureNorLink) {
    EXPECT_TRUE(rejectsFeed(
        feedWithItems(QStringLiteral("<item><sparkle:version>2</sparkle:version></item>")),
        u"neither an enclosure nor a link"));
}

TEST(AppcastParser, RejectsTheFeedForAnEnclosureWithoutURLOrLink) {
    EXPECT_TRUE(rejectsFeed(feedWithItems(QStringLiteral(
                                R"(<item><enclosure sparkle:version="2" length="10"/></item>)")),
                            u"no URL"));
}

TEST(AppcastParser, RejectsTheFeedForAnUnknownInstallationType) {
    EXPECT_TRUE(rejectsFeed(
        feedWithItems(QStringLiteral(
            R"(<item><enclosure url="https://dl.example.org/Editor.zip" sparkle:version="2"
                  sparkle:installationType="script"/></item>)")),
        u"\u201cscript\u201d"));
}

TEST(AppcastParser, RejectsTheFeedForAnEnclosureOfAnotherScheme) {
    EXPECT_TRUE(rejectsFeed(
        feedWithItems(QStringLiteral(
            R"(<item><enclosure url="ftp://dl.example.org/Editor.zip" sparkle:version="2"/></item>)")),
        u"ftp://"));
}

TEST(AppcastParser, RejectsXmlThatIsNotWellFormedQuotingLineAndColumn) {
    EXPECT_TRUE(rejectsFeed(
        feedWithItems(QStringLiteral(
            "<item>\n<enclosure url=\"https://dl.example.org/a?x=1&y=2\" sparkle:version=\"2\"/>"
            "</item>")),
        u"line 5, column "));
}

namespace {

// A feed of one item titled "Café", in text yet to be encoded.
QString cafeFeed(const char* declaration) {
    return QString::fromLatin1(declaration) +
           QStringLiteral(
               "<rss version=\"2.0\" "
               "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">"
               "<channel><item><title>Caf\u00e9</title>"
               "<sparkle:version>2</sparkle:version><link>https://example.org/</link>"
               "</item></channel></rss>");
}

QString onlyTitle(const QByteArray& bytes) {
    const Appcast appcast = parseTestFeed(bytes);
    EXPECT_EQ(appcast.items.size(), 1);
    return appcast.items.value(0).title;
}

}  // namespace

TEST(AppcastParser, ReadsAFeedInTheEncodingItDeclares) {
    const QByteArray latin1 =
        cafeFeed("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>").toLatin1();
    ASSERT_TRUE(latin1.contains('\xE9'));
    EXPECT_EQ(onlyTitle(latin1), QStringLiteral("Caf\u00e9"));
    // Bytes that would also be valid UTF-8 are still read as declared.
    const QByteArray utf8Bytes =
        cafeFeed("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>").toUtf8();
    EXPECT_EQ(onlyTitle(utf8Bytes), QStringLiteral("Caf\u00c3\u00a9"));
}

TEST(AppcastParser, ReadsAUtf8FeedWithOrWithoutAMark) {
    const QByteArray feed = cafeFeed("<?xml version='1.0' encoding='UTF-8'?>").toUtf8();
    EXPECT_EQ(onlyTitle(feed), QStringLiteral("Caf\u00e9"));
    EXPECT_EQ(onlyTitle("\xEF\xBB\xBF" + feed), QStringLiteral("Caf\u00e9"));
}

TEST(AppcastParser, ReadsAUtf16FeedWithOrWithoutAMark) {
    QByteArray bytes;
    for (const QChar character : cafeFeed("<?xml version=\"1.0\" encoding=\"UTF-16\"?>")) {
        bytes.append(static_cast<char>(character.unicode() & 0xFF));
        bytes.append(static_cast<char>(character.unicode() >> 8));
    }
    EXPECT_EQ(onlyTitle(QByteArray("\xFF\xFE", 2) + bytes), QStringLiteral("Caf\u00e9"));
    EXPECT_EQ(onlyTitle(bytes), QStringLiteral("Caf\u00e9"));
}

TEST(AppcastParser, RejectsAFeedThatIsNotTheUtf8ItDeclares) {
    const QByteArray feed = cafeFeed("<?xml version=\"1.0\" encoding=\"utf-8\"?>").toLatin1();
    ASSERT_TRUE(feed.contains('\xE9'));
    EXPECT_TRUE(rejectsFeed(feed));
}
