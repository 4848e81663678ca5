#pragma once

#include "core/clock.h"

#include <QDateTime>

// A clock that moves only when the test says so.
class ManualClock final : public tarnel::Clock {
public:
    QDateTime now() const override { return current; }
    void advance(qint64 seconds) { current = current.addSecs(seconds); }

private:
    QDateTime current = QDateTime(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
};
