#pragma once

#include "platform/appcast/appcast.h"
#include "platform/appcast/appcast_check_context.h"
#include "platform/appcast/updater_error.h"
#include "support/test_paths.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QUrl>

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

// Feeds written in the tests, the shared ones read from the fixtures, and the
// checks they are read for.

inline void PrintTo(const QString& text, std::ostream* stream) {
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QUrl& url, std::ostream* stream) {
    *stream << '<' << url.toString().toStdString() << '>';
}

namespace tarnel {

inline void PrintTo(const AppcastItem& item, std::ostream* stream) {
    *stream << "item " << item.versionString.toStdString() << " (\"" << item.title.toStdString()
            << "\")";
}

}  // namespace tarnel

inline QUrl testFeedURL() {
    return QUrl(QStringLiteral("https://updates.example.org/app/appcast.xml"));
}

// A feed of the given items, with the Sparkle namespace bound as usual.
inline QByteArray feedWithItems(const QString& items) {
    return (QStringLiteral(
                "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                "<rss version=\"2.0\" "
                "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\">\n"
                "<channel><title>Editor</title>\n") +
            items + QStringLiteral("</channel></rss>\n"))
        .toUtf8();
}

inline tarnel::Appcast parseTestFeed(const QByteArray& bytes) {
    return tarnel::parseAppcast(bytes, testFeedURL(), {QStringLiteral("en")});
}

// The one item of a feed of that item.
inline tarnel::AppcastItem parseTestItem(const QString& item) {
    const tarnel::Appcast appcast = parseTestFeed(feedWithItems(item));
    EXPECT_EQ(appcast.items.size(), 1);
    return appcast.items.value(0);
}

// Whether the feed fails as a whole, as a parse error whose reason contains
// `fragment`.
inline testing::AssertionResult rejectsFeed(const QByteArray& bytes, QStringView fragment = {}) {
    try {
        parseTestFeed(bytes);
    } catch (const tarnel::UpdaterError& error) {
        const QString reason = error.underlyingError().value_or(QString());
        if (error.code() != tarnel::UpdaterError::Code::appcastParse ||
            !reason.contains(fragment)) {
            return testing::AssertionFailure() << "failed otherwise: " << error.what();
        }
        return testing::AssertionSuccess() << error.what();
    }
    return testing::AssertionFailure() << "the feed parses";
}

// A user's check of a host on a machine at `systemVersion`.
inline tarnel::AppcastCheckContext userCheck(const char* hostVersion,
                                             const char* systemVersion = "15.0.0") {
    tarnel::AppcastCheckContext context;
    context.hostVersion = QString::fromUtf8(hostVersion);
    context.systemVersion = QString::fromUtf8(systemVersion);
    return context;
}

inline QByteArray fixtureFeed(const QString& name) {
    QFile file(fixturesDir() + QStringLiteral("/appcast/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}
