// The cask catalogue as the download delivers it.
#include "homebrew/cask_catalogue_parser.h"
#include "homebrew/cask_error.h"
#include "homebrew/json_syntax_error.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        // Deprecated casks too, so that every object is mapped.
        tarnel::parseCaskCatalogue(bytes, true, QStringLiteral("/Applications"));
    } catch (const tarnel::JSONSyntaxError&) {
    } catch (const tarnel::CaskError&) {
    }
    return 0;
}
