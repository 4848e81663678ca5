#pragma once

#include "platform/appcast/appcast_check_context.h"
#include "platform/appcast/appcast_item.h"
#include "platform/appcast/no_update_found.h"
#include "platform/appcast/update_found.h"

#include <QList>

#include <variant>

namespace tarnel {

using AppcastSelection = std::variant<UpdateFound, NoUpdateFound>;

// Chooses the update among a feed's items as the framework does. Items for
// another system, deltas and items of channels not allowed are never
// candidates. A first pass offers the greatest item that passes the system
// tests and is no major upgrade, a second one also allows major upgrades;
// the first of equal versions wins. Without an item newer than the host, the
// report names the greatest candidate, system tests waived. In background
// checks a phased rollout holds an item back until the host's group is due.
// Pure; skipped versions are the caller's to apply.
AppcastSelection selectUpdate(const QList<AppcastItem>& items, const AppcastCheckContext& context);

}  // namespace tarnel
