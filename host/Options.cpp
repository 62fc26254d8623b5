#include "Options.h"

#include <QDir>
#include <QFile>
#include <arpa/inet.h>

#include "KeloJson.h"

#ifndef KELO_DEFAULT_WEB_ROOT
#define KELO_DEFAULT_WEB_ROOT "web"
#endif

namespace {

QString absolute(const QString& path)
{
    return QDir::cleanPath(QDir::current().absoluteFilePath(path));
}

bool parseListen(const QString& text, Options* options, QString* error)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    bool ok = false;
    const int port = colon > 0 ? text.mid(colon + 1).toInt(&ok) : -1;
    if (!ok || port < 0 || port > 65535) {
        *error = QStringLiteral("--listen takes ADDR:PORT with a port from 0 to 65535, not \"%1\"").arg(text);
        return false;
    }
    QString address = text.left(colon);
    if (address.startsWith(QLatin1Char('[')) && address.endsWith(QLatin1Char(']')))
        address = address.mid(1, address.size() - 2);
    if (address.isEmpty()) {
        *error = QStringLiteral("--listen needs an address before the port");
        return false;
    }
    options->listenAddress = address;
    options->listenPort = port;
    return true;
}

bool parseSetting(const QString& text, Options* options, QString* error)
{
    const int eq = text.indexOf(QLatin1Char('='));
    const CMPath path(eq > 0 ? text.left(eq) : QString());
    if (path.prefix().isEmpty() || path.subPath().isEmpty()) {
        *error = QStringLiteral("--set takes PATH=JSON with a path like settings:group/name, not \"%1\"").arg(text);
        return false;
    }
    bool ok = false;
    QString parseError;
    const QVariant json = KeloJson::parse(text.mid(eq + 1), &ok, &parseError);
    const KeloValue value(KeloHash(json.toHash()));
    if (!ok || json.type() != QVariant::Hash || !value.isWellFormed()) {
        *error = QStringLiteral("--set %1: the value must be a JSON KeloValue such as "
                                "{\"type\":\"i32_\",\"i32_\":5}%2")
                     .arg(path.toEncoded(), ok ? QString() : QStringLiteral(" (") + parseError + QLatin1Char(')'));
        return false;
    }
    options->settings.append({path, value});
    return true;
}

bool parseTimeout(const QString& text, Options* options, QString* error)
{
    bool ok = false;
    const int ms = text.toInt(&ok);
    if (!ok || ms <= 0) {
        *error = QStringLiteral("--reply-timeout-ms takes a positive number of milliseconds, not \"%1\"").arg(text);
        return false;
    }
    options->replyTimeoutMs = ms;
    return true;
}

bool parseSpeed(const QString& text, Options* options, QString* error)
{
    bool ok = false;
    const double speed = text.toDouble(&ok);
    if (!ok || !(speed > 0) || speed > 1e6) {
        *error = QStringLiteral("--player-speed takes a factor above 0 (2: twice as fast), not \"%1\"").arg(text);
        return false;
    }
    options->playerSpeed = speed;
    return true;
}

bool parsePlayer(const QString& text, Options* options, QString* error)
{
    if (text != QLatin1String("simulated") && text != QLatin1String("audio") && text != QLatin1String("auto")) {
        *error = QStringLiteral("--player takes simulated, audio or auto, not \"%1\"").arg(text);
        return false;
    }
    options->player = text;
    return true;
}

// The file's first line, so that the secret stays out of the process list.
bool readTokenFile(const QString& fileName, Options* options, QString* error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("--token-file: cannot read %1: %2").arg(fileName, file.errorString());
        return false;
    }
    options->token = QString::fromUtf8(file.readLine(4096)).trimmed();
    return true;
}

// Applies one option that takes a value; false with *error for a bad value or an unknown name.
bool applyOption(const QString& name, const QString& value, Options* options, QString* error)
{
    if (name == QLatin1String("--data-dir"))
        options->dataDir = absolute(value);
    else if (name == QLatin1String("--listen"))
        return parseListen(value, options, error);
    else if (name == QLatin1String("--set"))
        return parseSetting(value, options, error);
    else if (name == QLatin1String("--log-config"))
        options->logConfig = absolute(value);
    else if (name == QLatin1String("--token"))
        options->token = value;
    else if (name == QLatin1String("--token-file"))
        return readTokenFile(absolute(value), options, error);
    else if (name == QLatin1String("--allow-host"))
        options->allowedHosts.append(value.toLower());
    else if (name == QLatin1String("--plugin"))
        options->plugins.append(absolute(value));
    else if (name == QLatin1String("--media-dir"))
        options->mediaDir = absolute(value);
    else if (name == QLatin1String("--web-root"))
        options->webRoot = absolute(value);
    else if (name == QLatin1String("--reply-timeout-ms"))
        return parseTimeout(value, options, error);
    else if (name == QLatin1String("--player-speed"))
        return parseSpeed(value, options, error);
    else if (name == QLatin1String("--player"))
        return parsePlayer(value, options, error);
    else if (name == QLatin1String("--audio-sink")) {
        if (value.trimmed().isEmpty()) {
            *error = QStringLiteral("--audio-sink takes a GStreamer sink, e.g. \"autoaudiosink\" or \"fakesink sync=true\"");
            return false;
        }
        options->audioSink = value;
    }
    else {
        *error = QStringLiteral("unknown option \"%1\" (see --help)").arg(name);
        return false;
    }
    return true;
}

}  // namespace

bool Options::listensOnLoopback() const
{
    if (listenAddress == QLatin1String("localhost"))
        return true;
    const QByteArray address = listenAddress.toLatin1();
    in_addr v4{};
    if (inet_pton(AF_INET, address.constData(), &v4) == 1)
        return (ntohl(v4.s_addr) >> 24) == 127;
    in6_addr v6{};
    return inet_pton(AF_INET6, address.constData(), &v6) == 1 && IN6_IS_ADDR_LOOPBACK(&v6);
}

QString Options::urlHost() const
{
    return listenAddress.contains(QLatin1Char(':')) ? QLatin1Char('[') + listenAddress + QLatin1Char(']')
                                                    : listenAddress;
}

bool Options::parse(const QStringList& arguments, Options* options, QString* error)
{
    *options = Options();
    options->dataDir = absolute(QStringLiteral("."));
    options->webRoot = QStringLiteral(KELO_DEFAULT_WEB_ROOT);
    bool tokenGiven = false;
    for (int i = 0; i < arguments.size(); ++i) {
        QString name = arguments.at(i);
        if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
            options->help = true;
            return true;
        }
        QString value;
        const int eq = name.indexOf(QLatin1Char('='));
        if (name.startsWith(QLatin1String("--")) && eq > 0) {
            value = name.mid(eq + 1);
            name = name.left(eq);
        } else if (i + 1 < arguments.size()) {
            value = arguments.at(++i);
        } else {
            *error = QStringLiteral("%1 needs a value (see --help)").arg(name);
            return false;
        }
        if (!applyOption(name, value, options, error))
            return false;
        tokenGiven = tokenGiven || name == QLatin1String("--token") || name == QLatin1String("--token-file");
    }
    if (tokenGiven && options->token.size() < MinTokenChars) {
        *error = QStringLiteral("the token must be at least %1 characters long").arg(MinTokenChars);
        return false;
    }
    if (!options->listensOnLoopback() && options->token.isEmpty()) {
        *error = QStringLiteral("refusing to listen on %1, which is not a loopback address, without --token or --token-file")
                     .arg(options->listenAddress);
        return false;
    }
    return true;
}

QString Options::usage()
{
    return QStringLiteral(
        "Usage: kelo-host [options]\n"
        "Loads the plug-in workers, the settings and the demo media library, and serves the HTTP API.\n"
        "\n"
        "  --data-dir DIR          working directory; data-rw/ (settings, databases) goes there\n"
        "                          (created if missing; default: the current directory)\n"
        "  --listen ADDR:PORT      address to listen on (default 127.0.0.1:8080; port 0 picks a free one)\n"
        "  --set PATH=JSON         sets a setting at start, e.g.\n"
        "                          --set 'settings:playlists/dbItemsLimit={\"type\":\"i32_\",\"i32_\":0}'\n"
        "  --log-config FILE       log4cplus properties file (default: console at WARN)\n"
        "  --token SECRET          every API request must carry 'Authorization: Bearer SECRET' (or the\n"
        "                          page's session cookie); at least 16 characters; required to listen\n"
        "                          outside loopback. Visible to local users: prefer --token-file\n"
        "  --token-file FILE       the token is the first line of FILE\n"
        "  --allow-host NAME       also answer requests whose Host is NAME (repeatable); by default\n"
        "                          only the listening address and localhost\n"
        "  --plugin PATH           loads this plug-in (repeatable); without it, libkelo_playlists.so\n"
        "                          from the build tree is loaded when it exists\n"
        "  --media-dir DIR         media library from the audio files under DIR (default: built-in demo)\n"
        "  --web-root DIR          folder of the web page served at / (default: the repository's web/)\n"
        "  --reply-timeout-ms N    how long a request waits for its reply (default 30000)\n"
        "  --player-speed X        the simulated player plays X times faster than real time (default 1)\n"
        "  --player KIND           simulated, audio or auto (default): the audio player when --media-dir\n"
        "                          is given and the audio output opens, else the simulated one\n"
        "  --audio-sink SINK       the audio player's GStreamer sink (default autoaudiosink;\n"
        "                          \"fakesink sync=true\" plays in real time into nothing)\n"
        "  --help                  this text\n");
}
