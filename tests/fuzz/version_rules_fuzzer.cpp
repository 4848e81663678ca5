// Two version texts, split at the first newline, through every rule.
#include "core/records/application.h"
#include "versions/version_rules.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const qsizetype newline = text.indexOf(u'\n');
    const QString candidate = newline < 0 ? text : text.first(newline);
    const QString baseline = newline < 0 ? QString() : text.sliced(newline + 1);

    tarnel::isVersionNewer(candidate, baseline);
    tarnel::compositeVersion(candidate, baseline);
    tarnel::isBrewVersionNewer(candidate, baseline);
    tarnel::isDisplayVersionNewer(candidate, baseline);
    tarnel::isInstalledVersionCalledNewer(candidate, baseline);
    tarnel::Application application;
    application.shortVersion = candidate;
    tarnel::installedDisplayVersion(application);
    return 0;
}
