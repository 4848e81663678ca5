#include "sandbox_builder.h"
#include "sandbox_server.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

namespace {

const char usage[] =
    "Usage: tarnel-sandbox create DIR [--shared DIR]\n"
    "       tarnel-sandbox serve DIR\n"
    "\n"
    "create  lays out a simulated Mac in DIR (an empty or new folder).\n"
    "serve   serves DIR's catalogue and update feeds over loopback HTTPS until\n"
    "        stopped, and writes its address into DIR/layout.json.\n";

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption sharedOption(QStringLiteral("shared"),
                                          QStringLiteral("The shared data and fixtures."),
                                          QStringLiteral("DIR"), QStringLiteral(TARNEL_SHARED_DIR));
    parser.addOption(sharedOption);
    QTextStream errors(stderr);
    if (!parser.parse(QCoreApplication::arguments()) || parser.positionalArguments().size() != 2) {
        errors << usage;
        return 2;
    }
    const QString command = parser.positionalArguments().at(0);
    const QString root = parser.positionalArguments().at(1);
    if (command == QLatin1String("create")) {
        try {
            tarnel::SandboxBuilder(root, parser.value(sharedOption),
                                   QCoreApplication::applicationDirPath())
                .build();
        } catch (const std::exception& error) {
            errors << "tarnel-sandbox create: " << error.what() << '\n';
            return 1;
        }
        QTextStream(stdout) << "Created a sandbox in " << root << Qt::endl;
        return 0;
    }
    if (command == QLatin1String("serve")) {
        return tarnel::serveSandbox(root);
    }
    errors << usage;
    return 2;
}
