#pragma once

#include "store_state.h"

#include <QByteArray>
#include <QStringList>

namespace tarnel::fakemas {

// What one invocation prints and how it exits.
struct Answer {
    QByteArray standardOutput;
    QByteArray standardError;
    int status = 0;
    // The state was changed and must be saved.
    bool changesState = false;
};

// Answers `list`, `outdated` and `upgrade [ID...]` the way the state says,
// after reading standard input, waiting for the release and the delay, as the
// state asks for the command. An upgrade changes `state` and
// rewrites the versions of the bundles it names.
Answer answerCommand(StoreState& state, const QStringList& arguments);

}  // namespace tarnel::fakemas
