// What `brew outdated --cask --greedy --json` prints, as the update check
// hands it to the reader.
#include "homebrew/json_syntax_error.h"
#include "updates/brew_outdated_report.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        tarnel::BrewOutdatedReport::parse(bytes);
    } catch (const tarnel::JSONSyntaxError&) {
    }
    return 0;
}
