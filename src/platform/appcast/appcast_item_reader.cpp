#include "platform/appcast/appcast_item_reader.h"

#include "platform/appcast/feed_date.h"
#include "platform/appcast/updater_error.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace tarnel {

namespace {

using InstallationType = AppcastItem::InstallationType;
using DescriptionFormat = AppcastItem::DescriptionFormat;

// A copy of an element without `xml:lang` counts as English.
QString languageOf(const FeedNode& node) {
    return node.attribute(u"xml:lang").value_or(QStringLiteral("en"));
}

QStringView primaryLanguage(QStringView tag) {
    const auto end = std::find_if(tag.begin(), tag.end(), [](QChar character) {
        return character == u'-' || character == u'_';
    });
    return tag.first(end - tag.begin());
}

qsizetype languageRank(const FeedNode& node, const QStringList& preferredLanguages) {
    const QString language = languageOf(node);
    for (qsizetype rank = 0; rank < preferredLanguages.size(); ++rank) {
        if (primaryLanguage(preferredLanguages[rank])
                .compare(primaryLanguage(language), Qt::CaseInsensitive) == 0) {
            return rank;
        }
    }
    return preferredLanguages.size();
}

bool isWebURL(const QUrl& url) {
    return (url.scheme() == u"http" || url.scheme() == u"https") && !url.host().isEmpty();
}

std::optional<QUrl> resolvedURL(const QString& text, const QUrl& base) {
    const QUrl url(text, QUrl::TolerantMode);
    if (text.isEmpty() || !url.isValid()) {
        return std::nullopt;
    }
    return base.resolved(url);
}

bool isValidChannelName(const QString& name) {
    return !name.isEmpty() && std::all_of(name.begin(), name.end(), [](QChar character) {
        const char16_t unit = character.unicode();
        return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') ||
               (unit >= u'0' && unit <= u'9') || unit == u'.' || unit == u'_' || unit == u'-';
    });
}

// The text after the last "_" of the file name, less its extension, as in
// "Foo_1.3.4.zip"; the last resort for an item that states no version.
QString versionFromFileName(const QUrl& url) {
    const QString fileName = url.fileName();
    const qsizetype underscore = fileName.lastIndexOf(u'_');
    if (underscore < 0) {
        return {};
    }
    QString version = fileName.mid(underscore + 1);
    if (const qsizetype dot = version.lastIndexOf(u'.'); dot >= 0) {
        version.truncate(dot);
    }
    return version;
}

// Every warning of an item repeats its label, so the title in it is cut
// short; otherwise a long title and many warnings multiply. The cut never
// splits a surrogate pair.
QString shortTitle(const QString& title) {
    qsizetype length = 80;
    if (title.size() <= length) {
        return title;
    }
    if (title[length - 1].isHighSurrogate()) {
        --length;
    }
    return title.first(length) + u'\u2026';
}

class ItemReader {
public:
    ItemReader(const FeedNode& item, qsizetype itemNumber, const QUrl& feedURL,
               const QStringList& preferredLanguages, QStringList& warnings)
        : feedURL(feedURL), warnings(warnings) {
        const QStringList unmarkedCopies = chooseCopies(item, preferredLanguages);
        label = QStringLiteral("item %1").arg(itemNumber);
        if (const QString title = text(u"title"); !title.isEmpty()) {
            label += QStringLiteral(" (\u201c%1\u201d)").arg(shortTitle(title));
        }
        for (const QString& name : unmarkedCopies) {
            warnings.append(QStringLiteral("%1: a copy of %2 without xml:lang counts as English")
                                .arg(label, name));
        }
    }

    AppcastItem read() {
        AppcastItem item;
        item.title = text(u"title");
        item.date = parseFeedDate(text(u"pubDate"));
        item.infoURL = webLink(u"link");
        readDescription(item);
        readEnclosure(item);
        readVersions(item);
        item.minimumSystemVersion = text(u"sparkle:minimumSystemVersion");
        item.maximumSystemVersion = text(u"sparkle:maximumSystemVersion");
        item.minimumAutoupdateVersion = text(u"sparkle:minimumAutoupdateVersion");
        item.minimumUpdateVersion = text(u"sparkle:minimumUpdateVersion");
        for (const QString& requirement :
             text(u"sparkle:hardwareRequirements").split(u',', Qt::SkipEmptyParts)) {
            if (const QString trimmed = requirement.trimmed(); !trimmed.isEmpty()) {
                item.hardwareRequirements.append(trimmed);
            }
        }
        readChannel(item);
        readCritical(item);
        bool isNumber = false;
        const qint64 interval = text(u"sparkle:phasedRolloutInterval").toLongLong(&isNumber);
        if (isNumber) {
            item.phasedRolloutInterval = interval;
        }
        readInformational(item);
        return item;
    }

private:
    // Keeps one copy of each element name; gives the names whose copies
    // include one without a language.
    QStringList chooseCopies(const FeedNode& item, const QStringList& preferredLanguages) {
        QStringList unmarkedCopies;
        // Looked up in a set: an item may hold hundreds of thousands of names.
        QSet<QString> unmarkedNames;
        for (const FeedNode& child : item.children) {
            const FeedNode*& chosen = copies[child.name];
            if (!chosen) {
                chosen = &child;
                continue;
            }
            if ((!child.attribute(u"xml:lang") || !chosen->attribute(u"xml:lang")) &&
                !unmarkedNames.contains(child.name)) {
                unmarkedNames.insert(child.name);
                unmarkedCopies.append(child.name);
            }
            const qsizetype rank = languageRank(child, preferredLanguages);
            const qsizetype chosenRank = languageRank(*chosen, preferredLanguages);
            // At equal rank a stated language beats an assumed one.
            if (rank < chosenRank || (rank == chosenRank && child.attribute(u"xml:lang") &&
                                      !chosen->attribute(u"xml:lang"))) {
                chosen = &child;
            }
        }
        return unmarkedCopies;
    }

    const FeedNode* element(QStringView name) const { return copies.value(name.toString()); }

    QString text(QStringView name) const {
        const FeedNode* node = element(name);
        return node ? node->text.trimmed() : QString();
    }

    [[noreturn]] void fail(const QString& reason) const {
        throw UpdaterError::appcastParse(QStringLiteral("%1: %2").arg(label, reason));
    }

    // An http or https page; anything else is dropped.
    std::optional<QUrl> webLink(QStringView name) {
        const QString linkText = text(name);
        if (linkText.isEmpty()) {
            return std::nullopt;
        }
        const std::optional<QUrl> url = resolvedURL(linkText, feedURL);
        if (!url || !isWebURL(*url)) {
            warnings.append(
                QStringLiteral("%1: ignoring %2 \u201c%3\u201d, not an http or https address")
                    .arg(label, name.toString(), linkText));
            return std::nullopt;
        }
        return url;
    }

    void readDescription(AppcastItem& item) {
        if (const FeedNode* description = element(u"description")) {
            item.itemDescription = description->text;
            const QString format = description->attribute(u"sparkle:format").value_or(QString());
            if (format == u"plain-text") {
                item.descriptionFormat = DescriptionFormat::plainText;
            } else if (format == u"markdown") {
                item.descriptionFormat = DescriptionFormat::markdown;
            }
        }
        item.releaseNotesURL = webLink(u"sparkle:releaseNotesLink");
        // A description that is an address stands for the release notes.
        const QString description = text(u"description");
        if (!item.releaseNotesURL &&
            (description.startsWith(u"http://") || description.startsWith(u"https://"))) {
            item.releaseNotesURL = webLink(u"description");
        }
        item.fullReleaseNotesURL = webLink(u"sparkle:fullReleaseNotesLink");
        if (!item.fullReleaseNotesURL) {
            item.fullReleaseNotesURL = item.releaseNotesURL;
        }
    }

    void readEnclosure(AppcastItem& item) {
        enclosure = element(u"enclosure");
        if (enclosure) {
            item.osString = enclosure->attribute(u"sparkle:os");
            item.deltaFrom = enclosure->attribute(u"sparkle:deltaFrom");
            if (const std::optional<QString> urlText = enclosure->attribute(u"url")) {
                readDownload(item, urlText->trimmed().replace(u' ', QStringLiteral("%20")));
            } else if (!item.infoURL) {
                fail(QStringLiteral("the enclosure has no URL and the item no link"));
            }
        }
        if (!item.enclosure && !item.infoURL) {
            fail(QStringLiteral("the item has neither an enclosure nor a link"));
        }
    }

    void readDownload(AppcastItem& item, const QString& urlText) {
        const std::optional<QUrl> url = resolvedURL(urlText, feedURL);
        if (!url || !isWebURL(*url)) {
            fail(QStringLiteral("the enclosure URL \u201c%1\u201d is not an http or https address")
                     .arg(urlText));
        }
        AppcastEnclosure download;
        download.url = *url;
        bool isNumber = false;
        const qint64 length =
            enclosure->attribute(u"length").value_or(QString()).toLongLong(&isNumber);
        download.contentLength = isNumber && length > 0 ? length : 0;
        download.type = enclosure->attribute(u"type").value_or(QString());
        download.edSignature = enclosure->attribute(u"sparkle:edSignature");
        download.dsaSignature = enclosure->attribute(u"sparkle:dsaSignature");
        item.enclosure = download;

        const std::optional<QString> type = enclosure->attribute(u"sparkle:installationType");
        const QString path = url->path();
        if (!type) {
            const bool isPackage = path.endsWith(u".pkg", Qt::CaseInsensitive) ||
                                   path.endsWith(u".mpkg", Qt::CaseInsensitive);
            item.installationType =
                isPackage ? InstallationType::package : InstallationType::application;
        } else if (*type == u"application") {
            item.installationType = InstallationType::application;
        } else if (*type == u"package") {
            item.installationType = InstallationType::package;
        } else if (*type == u"interactive-package") {
            item.installationType = InstallationType::interactivePackage;
        } else {
            fail(QStringLiteral("the installation type \u201c%1\u201d is unknown").arg(*type));
        }
    }

    // The enclosure's attribute wins over the element.
    QString attributeOrText(QStringView name) const {
        if (enclosure) {
            if (const QString value = enclosure->attribute(name).value_or(QString()).trimmed();
                !value.isEmpty()) {
                return value;
            }
        }
        return text(name);
    }

    void readVersions(AppcastItem& item) {
        item.versionString = attributeOrText(u"sparkle:version");
        if (item.versionString.isEmpty() && item.enclosure) {
            item.versionString = versionFromFileName(item.enclosure->url);
        }
        if (item.versionString.isEmpty()) {
            fail(QStringLiteral("the item has no version"));
        }
        item.displayVersionString = attributeOrText(u"sparkle:shortVersionString");
        if (item.displayVersionString.isEmpty()) {
            item.displayVersionString = item.versionString;
        }
    }

    // A missing, empty or misspelt channel is the default one.
    void readChannel(AppcastItem& item) {
        const QString channel = text(u"sparkle:channel");
        if (isValidChannelName(channel)) {
            item.channel = channel;
        } else if (!channel.isEmpty()) {
            warnings.append(QStringLiteral("%1: the channel \u201c%2\u201d is not a valid name; "
                                           "the item is on the default channel")
                                .arg(label, channel));
        }
    }

    void readCritical(AppcastItem& item) {
        if (const FeedNode* critical = element(u"sparkle:criticalUpdate")) {
            item.isMarkedCritical = true;
            item.criticalBelowVersion =
                critical->attribute(u"sparkle:version").value_or(QString()).trimmed();
        } else if (const FeedNode* tags = element(u"sparkle:tags")) {
            item.isMarkedCritical = !tags->childrenNamed(u"sparkle:criticalUpdate").isEmpty();
        }
    }

    void readInformational(AppcastItem& item) {
        const FeedNode* informational = element(u"sparkle:informationalUpdate");
        if (!informational) {
            return;
        }
        InformationalUpdateRule rule;
        for (const FeedNode* version : informational->childrenNamed(u"sparkle:version")) {
            rule.versions.append(version->text.trimmed());
        }
        for (const FeedNode* below : informational->childrenNamed(u"sparkle:belowVersion")) {
            rule.belowVersions.append(below->text.trimmed());
        }
        item.informationalUpdate = rule;
    }

    const QUrl& feedURL;
    QStringList& warnings;
    QString label;
    QHash<QString, const FeedNode*> copies;
    const FeedNode* enclosure = nullptr;
};

}  // namespace

AppcastItem readAppcastItem(const FeedNode& item, qsizetype itemNumber, const QUrl& feedURL,
                            const QStringList& preferredLanguages, QStringList& warnings) {
    return ItemReader(item, itemNumber, feedURL, preferredLanguages, warnings).read();
}

}  // namespace tarnel
