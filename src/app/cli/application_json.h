#pragma once

#include "core/records/application.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>

namespace tarnel {

// JSON forms of an Application, keyed by the record's field names, so that
// scripts can rely on them. Each form adds to the one before.

// The facts of the bundle: id, names, path, identifier, versions, sparkleInfo.
QJsonObject bundleJson(const Application& application);
// The bundle facts plus `caskOptions` ([{name, confidence}], ranked) and
// `adoptedCask` ({name, confidence} or null).
QJsonObject matchJson(const Application& application);
// The whole record: the match form plus `excluded`, `alreadyAdopted` and
// `masApp` ({id, name, version} or null).
QJsonObject applicationJson(const Application& application);

// The applications as an indented JSON array, each in the given form.
QByteArray jsonArrayText(const QList<Application>& applications,
                         QJsonObject (*form)(const Application&));

}  // namespace tarnel
