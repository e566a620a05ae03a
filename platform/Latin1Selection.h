#pragma once
// Copied text as X11 programs that ask for the old Latin-1 STRING form receive it. Qt
// answers such a request with every character outside Latin-1 turned into "?", so that a
// copied "5 €" arrives as "5 ?". On an X11 desktop this filter answers those requests
// itself: characters outside Latin-1 become their nearest Latin-1 spelling ("EUR" for
// "€", "-" for the minus sign, "..." for the ellipsis) or, failing that, the escape
// "\x{20AC}" that GTK programs use, so nothing is lost. A request for TEXT, which lets the
// owner choose the encoding, gets UTF-8.

#include <QAbstractNativeEventFilter>
#include <QByteArray>
#include <QString>

class Latin1Selection : public QAbstractNativeEventFilter {
public:
    // Installs the filter on the application when it runs on X11; elsewhere does nothing.
    static void Install();

    // The text as Latin-1 bytes, with the replacements above.
    static QByteArray ToLatin1(const QString& text);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
};
