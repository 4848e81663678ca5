#include "platform/appcast/appcast_selection.h"

#include "platform/appcast/standard_version_comparator.h"

namespace tarnel {

namespace {

using Context = AppcastCheckContext;
using Reason = NoUpdateFound::Reason;

enum class SystemTests { applied, waived };
enum class MajorUpgrades { excluded, allowed };

bool isCandidate(const AppcastItem& item, const Context& context) {
    const bool isForOurSystem = !item.osString || *item.osString == u"macos";
    const bool isOnAllowedChannel =
        !item.channel || context.allowedChannels.contains(*item.channel);
    return isForOurSystem && !item.deltaFrom && isOnAllowedChannel;
}

// A rollout lets group G of seven have the item G intervals after its date;
// it holds back neither critical items nor items without interval or date.
bool isRolledOut(const AppcastItem& item, const AppcastItemState& state, const Context& context) {
    if (context.checkKind != Context::CheckKind::background || state.isCritical ||
        !item.phasedRolloutInterval || !item.date) {
        return true;
    }
    const qint64 group = context.updateGroupIdentifier % 7;
    qint64 wait = 0;
    if (__builtin_mul_overflow(*item.phasedRolloutInterval, group, &wait)) {
        return false;
    }
    return item.date->secsTo(context.now) >= wait;
}

// The greatest item that passes, by a linear scan in which only a strictly
// greater version replaces the choice, since the comparator is no order to
// sort by.
const AppcastItem* best(const QList<const AppcastItem*>& candidates, const Context& context,
                        SystemTests systemTests, MajorUpgrades majorUpgrades) {
    const AppcastItem* chosen = nullptr;
    for (const AppcastItem* item : candidates) {
        const AppcastItemState state = resolveAppcastItemState(*item, context);
        if ((systemTests == SystemTests::applied && !state.passesSystemTests()) ||
            (majorUpgrades == MajorUpgrades::excluded && state.isMajorUpgrade) ||
            !isRolledOut(*item, state, context)) {
            continue;
        }
        if (!chosen || compareStandardVersions(item->versionString, chosen->versionString) > 0) {
            chosen = item;
        }
    }
    return chosen;
}

bool isNewer(const AppcastItem* item, const Context& context) {
    return item && compareStandardVersions(context.hostVersion, item->versionString) < 0;
}

std::optional<UpdaterError> installRefusal(const AppcastItem& item, const AppcastItemState& state) {
    const QString& version = item.displayVersionString;
    if (state.isInformationOnly) {
        return UpdaterError(
            UpdaterError::Code::installation,
            QStringLiteral("Version %1 is informational only: it is offered on its web page, %2, "
                           "and cannot be installed")
                .arg(version, item.infoURL.value_or(QUrl()).toDisplayString()));
    }
    if (item.installationType != AppcastItem::InstallationType::application) {
        return UpdaterError(
            UpdaterError::Code::installation,
            QStringLiteral("Version %1 is an installer package, which cannot be installed here")
                .arg(version));
    }
    const QUrl download = item.enclosure ? item.enclosure->url : QUrl();
    if (download.scheme() != u"https") {
        return UpdaterError(UpdaterError::Code::download,
                            QStringLiteral("The download of version %1 does not use HTTPS: %2")
                                .arg(version, download.toDisplayString()));
    }
    return std::nullopt;
}

UpdateFound found(const AppcastItem& item, const Context& context) {
    const AppcastItemState state = resolveAppcastItemState(item, context);
    return {item, state, installRefusal(item, state)};
}

NoUpdateFound notFound(const AppcastItem* latest, const Context& context) {
    NoUpdateFound report;
    report.isUserInitiated = context.checkKind == Context::CheckKind::userInitiated;
    if (!latest) {
        return report;
    }
    report.latestItem = *latest;
    const auto order = compareStandardVersions(context.hostVersion, latest->versionString);
    const AppcastItemState state = resolveAppcastItemState(*latest, context);
    if (order == 0) {
        report.reason = Reason::onLatestVersion;
    } else if (order > 0) {
        report.reason = Reason::onNewerThanLatestVersion;
    } else if (!state.isMinimumSystemVersionOK) {
        report.reason = Reason::systemIsTooOld;
    } else if (!state.isMaximumSystemVersionOK) {
        report.reason = Reason::systemIsTooNew;
    } else if (!state.isHardwareSupported) {
        report.reason = Reason::hardwareDoesNotSupportARM64;
    } else {
        report.reason = Reason::unknown;
    }
    return report;
}

}  // namespace

AppcastSelection selectUpdate(const QList<AppcastItem>& items, const AppcastCheckContext& context) {
    QList<const AppcastItem*> candidates;
    for (const AppcastItem& item : items) {
        if (isCandidate(item, context)) {
            candidates.append(&item);
        }
    }
    // Minor updates first, so that 1.9.4 is offered before a major 2.0.
    for (const MajorUpgrades majorUpgrades : {MajorUpgrades::excluded, MajorUpgrades::allowed}) {
        if (const AppcastItem* item =
                best(candidates, context, SystemTests::applied, majorUpgrades);
            isNewer(item, context)) {
            return found(*item, context);
        }
    }
    return notFound(best(candidates, context, SystemTests::waived, MajorUpgrades::allowed),
                    context);
}

}  // namespace tarnel
