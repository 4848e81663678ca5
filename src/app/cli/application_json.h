#pragma once

#include "core/records/application.h"

#include <QJsonObject>

namespace tarnel {

// An Application as a JSON object keyed by the record's field names.
QJsonObject applicationJson(const Application& application);

}  // namespace tarnel
