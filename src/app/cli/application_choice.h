#pragma once

#include "core/records/application.h"

#include <QList>
#include <QString>

#include <variant>

namespace tarnel {

// The one application that `query` names: by display name (in any case),
// file name, bundle identifier or bundle path (also through a link). Otherwise the problem, in
// words: nothing matches, or several do, listed by path.
std::variant<Application, QString> chooseApplication(const QList<Application>& applications,
                                                     const QString& query);

}  // namespace tarnel
