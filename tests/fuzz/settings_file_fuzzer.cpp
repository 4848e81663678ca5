// A settings file through the reader of its format.
#include "core/settings_file_format.h"

#include <QBuffer>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QBuffer device(&bytes);
    device.open(QIODevice::ReadOnly);
    QSettings::SettingsMap map;
    tarnel::readSettingsFile(device, map);
    return 0;
}
