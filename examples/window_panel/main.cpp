// A panel with a window: the demo plant's boiler and first line.
//
//     plant_server --security &
//     window_panel opc.tcp://localhost:4840
#include <QApplication>
#include <QCommandLineParser>
#include <cstdio>

#include "link/access.h"
#include "widgets/main_window.h"
#include "widgets/style.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription("Shows the demo plant's boiler and first line.");
    parser.addHelpOption();
    parser.addOption({"insecure", "Connect without security."});
    parser.addPositionalArgument("URL", "The plant's server (default: opc.tcp://localhost:4840).", "[URL]");
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();
    window_panel::Access access;
    access.url = arguments.isEmpty() ? "opc.tcp://localhost:4840" : arguments.first().toStdString();
    access.secured = !parser.isSet("insecure");
    if (arguments.size() > 1 || access.url.size() > window_panel::Access::urlLimit) {
        std::fprintf(stderr, "window_panel: one URL of at most %zu bytes\n", window_panel::Access::urlLimit);
        return 2;
    }
    window_panel::useStyle(application);
    window_panel::MainWindow window(access);
    window.show();
    return QApplication::exec();
}
