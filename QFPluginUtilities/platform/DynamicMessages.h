#pragma once

#include "platform/PreparedMessage.h"
#include "platform/QFExport.h"

#include <QByteArrayView>
#include <QVariant>

class QObject;

// Messages to objects whose class is not known here: the host's pages and documents, plug-ins, delegates. An
// object answers its public invokable methods and slots by name and number of arguments, and each readable
// property as a message without arguments. A message of several keywords goes under their joined form,
// "tempFilesDirectoryForUniqueID". All functions may be called on any thread, the answer runs on the
// caller's.

/// Whether the object has an answer to the message, whatever the types of its parameters; false for nullptr.
[[nodiscard]] QF_EXPORT bool respondsTo(const QObject *object, QByteArrayView name, qsizetype argumentCount);

/// Sends the message and gives back the answer, nil for none. Of several overloads the one whose worst
/// parameter is nearest to its argument is called, a subclass's before an equal one of its base class. Nil
/// also when no overload can take the arguments, or when it throws: no exception comes out of here. The
/// object may be gone afterwards.
QF_EXPORT QVariant send(QObject *object, QByteArrayView name, const QVariantList &arguments = {});

/// What of the class, or of the gadget, answers the message.
[[nodiscard]] MessageAnswers messageAnswers(const QMetaObject &meta, QByteArrayView name,
                                            qsizetype argumentCount);

/// Drops what is remembered of classes. Called before a plug-in is unloaded, so that another class in the
/// same place of memory cannot be taken for one of its own.
QF_EXPORT void forgetMessageTables();
