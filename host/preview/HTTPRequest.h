#pragma once

#include <QByteArray>
#include <QHash>

/// The head of a request for a page or file. There are no others: a request with a body is refused.
struct HTTPRequest
{
    static constexpr qsizetype kMaximumLine = 8 << 10; ///< bytes of the request line
    static constexpr qsizetype kMaximumHead = 16 << 10;

    int status = 0; ///< 0 while bytes are missing, 200 for a whole head, else the status that refuses it
    bool isHead = false;
    QByteArray path;                       ///< decoded; starts with "/", has no "." or ".." between slashes
    QByteArray query;                      ///< as sent, from its "?" on; empty for none
    QHash<QByteArray, QByteArray> headers; ///< by name in lower case

    /// Reads what has arrived so far. Anything that no browser sends is refused: line ends other than CRLF,
    /// folded or repeated headers that count, encoded slashes and zero bytes, paths that climb.
    [[nodiscard]] static HTTPRequest parse(const QByteArray &received);
};
