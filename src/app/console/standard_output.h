#pragma once

#include <QByteArray>
#include <QString>

namespace tarnel {

// Writes `bytes` to standard output whole, past stdio. When the write fails,
// on a full disk or into a pipe whose reader has gone, the reason is named on
// standard error after `name` ("tarnel-cli scan: cannot write to standard
// output: No space left on device") and the result is false, so that the run
// ends with a failing status and never passes for a success.
bool writeStandardOutput(const QByteArray& bytes, const QString& name);

// Makes a write into a pipe whose reader has gone fail with an error that
// writeStandardOutput names, instead of ending the process without a word.
// Called once, first thing in main.
void ignoreBrokenPipeSignal();

}  // namespace tarnel
