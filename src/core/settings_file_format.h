#pragma once

#include <QSettings>

namespace tarnel {

// A JSON settings file format that keeps each value's type (booleans, text,
// lists of text, data), registered with QSettings once.
QSettings::Format settingsFileFormat();

// The format's reader: false when the bytes are not a JSON object.
bool readSettingsFile(QIODevice& device, QSettings::SettingsMap& map);

}  // namespace tarnel
