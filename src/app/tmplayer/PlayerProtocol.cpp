#include "app/tmplayer/PlayerProtocol.h"

#include <unistd.h>

#include <QDir>
#include <QLocalSocket>
#include <QtEndian>

namespace tolmi::player {
namespace {

constexpr int kPathBytes = 520, kLengthByte = 532;
constexpr int kPathChars = kPathBytes / 2 - 1;  // room for the zero character

}  // namespace

QString UserRuntimePath(const QString& name) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists()) return runtime + '/' + name;
    return QDir::tempPath() + '/' + name + '-' + QString::number(getuid());
}

QString PlayerServerName() { return UserRuntimePath("tmplayer.socket"); }
QString WindowServerName() { return UserRuntimePath("GlobalMutexTMQDT.socket"); }

QByteArray EncodeStartRecord(const QString& path) {
    QByteArray record(kStartRecordSize, '\0');
    const QString cut = path.left(kPathChars);
    for (int i = 0; i < cut.size(); ++i) qToLittleEndian<quint16>(cut[i].unicode(), record.data() + 2 * i);
    record[kLengthByte] = char(path.size() & 0xff);
    return record;
}

std::optional<QString> DecodeStartRecord(const QByteArray& record) {
    if (record.size() != kStartRecordSize) return std::nullopt;
    QString path;
    for (int i = 0; i < kPathChars; ++i) {
        const char16_t unit = qFromLittleEndian<quint16>(record.constData() + 2 * i);
        if (unit == 0) break;
        path.append(QChar(unit));
    }
    return path;
}

Descriptor ParseDescriptor(const QString& text) {
    const QStringList fields = text.split("$$");
    return {fields.value(0), fields.value(1), fields.value(2)};
}

std::optional<Message> TakeMessage(QByteArray& buffer) {
    if (buffer.isEmpty()) return std::nullopt;
    const char tag = buffer[0];
    if (tag != kStartTag && tag != kCloseTag && tag != kClosedTag && tag != kStartedTag) {
        buffer.clear();
        return std::nullopt;
    }
    const int size = tag == kStartTag ? 1 + kStartRecordSize : 1;
    if (buffer.size() < size) return std::nullopt;
    Message message{tag, buffer.mid(1, size - 1)};
    buffer.remove(0, size);
    return message;
}

bool SendMessage(QLocalSocket& socket, const QString& name, const QByteArray& message, int waitMs) {
    socket.connectToServer(name);
    if (!socket.waitForConnected(waitMs)) return false;
    socket.write(message);
    return socket.waitForBytesWritten(waitMs);
}

}  // namespace tolmi::player
