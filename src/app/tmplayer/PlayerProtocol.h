#pragma once
// What passes between the window and its player over local sockets. The
// player listens on its own name; the window listens on the name of its
// single-instance lock. Every message is one tag byte, and the start
// record carries its 536 bytes behind its tag:
//   0..519  the path, UTF-16 little-endian, ended by a zero character
//   520..527 zero; 532 the path's length in characters, cut to 8 bits;
//   the other bytes zero.

#include <QByteArray>
#include <QString>
#include <optional>

class QLocalSocket;

namespace tolmi::player {

inline constexpr int kStartRecordSize = 536;
inline constexpr char kStartTag = 'R';     // window -> player: the start record
inline constexpr char kCloseTag = 'C';     // window -> player: close
inline constexpr char kClosedTag = 'A';    // player -> window: closing now
inline constexpr char kStartedTag = 'S';   // player -> window: the player has started

// A name in the user's runtime folder, or in the temporary folder with the
// user's id, for lock files and sockets.
QString UserRuntimePath(const QString& name);
QString PlayerServerName();
QString WindowServerName();

QByteArray EncodeStartRecord(const QString& path);
// The path of a record of the right size; nothing for anything else.
std::optional<QString> DecodeStartRecord(const QByteArray& record);

// The descriptor on the player's command line: path, name, size text and
// the movie's own fields, joined by "$$".
struct Descriptor {
    QString path, name, sizeText;
};
Descriptor ParseDescriptor(const QString& text);

// Takes the whole messages at the front of buffer, one at a time: the tag,
// and the record for a start message. Nothing while the next one is not
// complete; an unknown tag empties the buffer.
struct Message {
    char tag;
    QByteArray record;
};
std::optional<Message> TakeMessage(QByteArray& buffer);

// Connects to name and sends one message; false when nobody listens.
bool SendMessage(QLocalSocket& socket, const QString& name, const QByteArray& message, int waitMs);

}  // namespace tolmi::player
