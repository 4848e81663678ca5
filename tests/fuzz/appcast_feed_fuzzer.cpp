// An update feed as a server delivers it, read and then chosen from as a
// check would: once at the user's request and once in the background, where
// phased rollout counts too.
#include "platform/appcast/appcast.h"
#include "platform/appcast/appcast_selection.h"
#include "platform/appcast/updater_error.h"

#include <cstddef>
#include <cstdint>

namespace {

using Context = tarnel::AppcastCheckContext;

void choose(const QList<tarnel::AppcastItem>& items, const Context& context) {
    const tarnel::AppcastSelection selection = tarnel::selectUpdate(items, context);
    if (const auto* report = std::get_if<tarnel::NoUpdateFound>(&selection)) {
        tarnel::UpdaterError::noUpdateFound(*report, QStringLiteral("Fuzzed"),
                                            QStringLiteral("1.0"));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    // A feed in a folder, so that relative addresses have somewhere to go.
    const QUrl feedURL(QStringLiteral("https://updates.example.com/app/appcast.xml"));
    tarnel::Appcast appcast;
    try {
        appcast =
            tarnel::parseAppcast(bytes, feedURL, {QStringLiteral("de-DE"), QStringLiteral("en")});
    } catch (const tarnel::UpdaterError&) {
        return 0;
    }
    Context context;
    context.hostVersion = QStringLiteral("1.0");
    context.systemVersion = QStringLiteral("15.0.0");
    context.allowedChannels = {QStringLiteral("beta")};
    choose(appcast.items, context);
    context.architecture = Context::Architecture::x86_64;
    context.checkKind = Context::CheckKind::background;
    context.updateGroupIdentifier = 3;
    context.now = QDateTime(QDate(2024, 6, 1), QTime(12, 0), Qt::UTC);
    choose(appcast.items, context);
    return 0;
}
