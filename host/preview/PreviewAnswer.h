#pragma once

#include "host/build/FileDescriptor.h"
#include "host/preview/HTTPRequest.h"
#include "host/preview/PreviewFolder.h"
#include "host/preview/PreviewReport.h"

#include <QByteArray>

/// What the answers depend on.
struct PreviewSite
{
    const PreviewFolder &folder;
    const PreviewReport &report;
    QByteArray version; ///< of what browsers see: another one after each change
    quint16 port = 0;
};

/// What is answered to a request: a head, then either bytes or a part of a file.
struct PreviewAnswer
{
    int status = 200;
    QByteArray type = "text/html; charset=utf-8";
    QByteArray headers; ///< further ones, whole lines
    QByteArray body;
    FileDescriptor file; ///< positioned at the part's start; not open for bytes
    qint64 size = 0;     ///< of the body, or of the file's part
    bool isEventStream = false;

    [[nodiscard]] static PreviewAnswer to(const HTTPRequest &request, const PreviewSite &site);
    /// To a request that is none, or came too late: a page that says no more than the status does.
    [[nodiscard]] static PreviewAnswer refusal(int status);

    /// Status line and headers. The connection ends with the answer, and nothing is kept.
    [[nodiscard]] QByteArray head() const;
};
