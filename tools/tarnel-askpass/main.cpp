// The password dialog of the askpass script where the platform has none:
// `tarnel-askpass TITLE PROMPT` prints the answer and a newline and exits 0,
// or exits 1 when the user cancels.

#include "askpass_dialog.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: tarnel-askpass TITLE PROMPT\n", stderr);
        return 1;
    }
    tarnel::AskpassDialog dialog(arguments.at(1), arguments.at(2));
    if (dialog.exec() != QDialog::Accepted) {
        return 1;
    }
    const QByteArray answer = dialog.password().toUtf8() + '\n';
    std::fwrite(answer.constData(), 1, static_cast<size_t>(answer.size()), stdout);
    std::fflush(stdout);
    return 0;
}
