// What `mas list` and `mas outdated` print; the same bytes go to both readers.
#include "updates/mas_output_parser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString output =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    tarnel::parseMASList(output);
    tarnel::parseMASOutdated(output);
    return 0;
}
