#include "ToplevelProcesses.h"

#include "ProcessFacts.h"

#include <algorithm>
#include <cstring>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <unistd.h>

namespace {

constexpr char swayMagic[] = "i3-ipc";
constexpr std::uint32_t swayGetTree = 4;
constexpr int swayTimeoutMs = 1000;

QByteArray swayRequest(std::uint32_t type) {
    QByteArray message(swayMagic, 6);
    const std::uint32_t header[2] = {0, type};
    message.append(reinterpret_cast<const char *>(header), sizeof header);
    return message;
}

// One reply: the magic, the payload's length and type, then the payload.
QByteArray swayReply(QLocalSocket &socket) {
    QByteArray reply;
    const qsizetype headerSize = 6 + 8;
    std::uint32_t length = 0;
    while (socket.waitForReadyRead(swayTimeoutMs) || socket.bytesAvailable() > 0) {
        reply += socket.readAll();
        if (reply.size() >= headerSize) {
            std::memcpy(&length, reply.constData() + 6, sizeof length);
            if (reply.size() >= headerSize + qsizetype(length))
                return reply.mid(headerSize, length);
        }
    }
    return {};
}

void collectViews(const QJsonObject &node, std::vector<ToplevelProcesses::View> &views) {
    const qint32 pid = node.value(QLatin1String("pid")).toInt();
    if (pid > 0) {
        const bool isXwayland =
            node.value(QLatin1String("shell")).toString() == QLatin1String("xwayland");
        const QString appId = isXwayland ? node.value(QLatin1String("window_properties"))
                                               .toObject()
                                               .value(QLatin1String("class"))
                                               .toString()
                                         : node.value(QLatin1String("app_id")).toString();
        views.push_back(
            {pid, appId, node.value(QLatin1String("name")).toString(), QString(), isXwayland});
    }
    for (const char *children : {"nodes", "floating_nodes"}) {
        for (const QJsonValue &child : node.value(QLatin1String(children)).toArray())
            collectViews(child.toObject(), views);
    }
}

QByteArray environmentValue(const QByteArray &environment, const QByteArray &name) {
    for (const QByteArray &variable : environment.split('\0')) {
        if (variable.startsWith(name + '='))
            return variable.mid(name.size() + 1);
    }
    return {};
}

} // namespace

std::vector<ToplevelProcesses::Found>
ToplevelProcesses::find(const std::vector<const ClientWindow *> &windows) {
    if (qEnvironmentVariableIsSet("SWAYSOCK"))
        return matchViews(windows, swayViews());
    return matchViews(windows, displayClients());
}

std::vector<ToplevelProcesses::View> ToplevelProcesses::viewsOfSwayTree(const QByteArray &json) {
    std::vector<View> views;
    collectViews(QJsonDocument::fromJson(json).object(), views);
    return views;
}

std::vector<ToplevelProcesses::Found>
ToplevelProcesses::matchViews(const std::vector<const ClientWindow *> &windows,
                              const std::vector<View> &views) {
    std::vector<Found> found(windows.size());
    std::vector<bool> isTaken(views.size());
    // A view whose title fits too is surely this window; else one not taken yet; else any of
    // the process, which may have several windows.
    for (const int pass : {0, 1, 2}) {
        for (size_t w = 0; w < windows.size(); ++w) {
            for (size_t v = 0; v < views.size() && found[w].processIdentifier == 0; ++v) {
                const View &view = views[v];
                if (!fits(view, *windows[w]) || (pass == 0 && view.title != windows[w]->title) ||
                    (pass < 2 && isTaken[v]))
                    continue;
                isTaken[v] = true;
                found[w] = {view.processIdentifier, view.isXwayland};
            }
        }
    }
    return found;
}

bool ToplevelProcesses::fits(const View &view, const ClientWindow &window) {
    if (!view.appId.isEmpty())
        return view.appId == window.appId;
    // A process found in /proc: its program stands for the app_id. "org.gnome.Calculator" is
    // run by "gnome-calculator": compare what they share, case aside.
    const QString lastPart = window.appId.section(QLatin1Char('.'), -1);
    return !view.program.isEmpty() && !window.appId.isEmpty() &&
           (view.program.compare(window.appId, Qt::CaseInsensitive) == 0 ||
            view.program.compare(lastPart, Qt::CaseInsensitive) == 0 ||
            view.program.endsWith(QLatin1Char('-') + lastPart, Qt::CaseInsensitive));
}

std::vector<ToplevelProcesses::View> ToplevelProcesses::swayViews() {
    QLocalSocket socket;
    socket.connectToServer(qEnvironmentVariable("SWAYSOCK"));
    if (!socket.waitForConnected(swayTimeoutMs))
        return {};
    socket.write(swayRequest(swayGetTree));
    if (!socket.waitForBytesWritten(swayTimeoutMs))
        return {};
    return viewsOfSwayTree(swayReply(socket));
}

std::vector<ToplevelProcesses::View> ToplevelProcesses::displayClients() {
    // Without the compositor's word, a process of this user on the same display whose program
    // is the app_id is the best evidence there is.
    QByteArray display = qgetenv("WAYLAND_DISPLAY");
    if (display.isEmpty())
        display = "wayland-0";
    std::vector<View> views;
    const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString &name : processes) {
        bool isNumber = false;
        const qint32 pid = name.toInt(&isNumber);
        if (!isNumber || QFileInfo(QStringLiteral("/proc/") + name).ownerId() != getuid())
            continue;
        QFile environ(QStringLiteral("/proc/%1/environ").arg(pid));
        if (!environ.open(QIODevice::ReadOnly) ||
            environmentValue(environ.readAll(), "WAYLAND_DISPLAY") != display)
            continue;
        views.push_back({pid, QString(), QString(), ProcessFacts::of(pid).program, false});
    }
    return views;
}
