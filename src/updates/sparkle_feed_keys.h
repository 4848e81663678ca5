#pragma once

#include <QString>

namespace tarnel {

// What the bundle's own Info.plist says about a feed, for applications whose
// discovery found no feed configuration.
struct InfoPlistFeedReading {
    enum class Outcome { noInfoPlist, unreadable, noUsableFeed, usableFeed };

    Outcome outcome = Outcome::noInfoPlist;
    // Why the file could not be read, for `unreadable`.
    QString error;
};

// Feeds of the platform vendor's own software, which this program must
// never touch: its internal update host, or any host of its corporate domain.
bool isVendorInternalFeed(const QString& feedURL);

// Reads "Contents/Info.plist" under the bundle, bounded, and looks for the
// first feed key whose value is an http or https address off the vendor's
// hosts. Blocking: run it on the worker pool.
InfoPlistFeedReading readInfoPlistFeed(const QString& bundlePath);

}  // namespace tarnel
