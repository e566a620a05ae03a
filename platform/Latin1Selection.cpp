#include "Latin1Selection.h"

#include <xcb/xcb.h>

#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QMimeData>
#include <QStringView>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// Characters that typeset numbers and text often hold, spelt in Latin-1.
struct Spelling {
    char32_t character;
    const char* latin1;
};
constexpr Spelling Spellings[] = {
    {U'\u20AC', "EUR"}, {U'\u2212', "-"},   {U'\u2010', "-"},    {U'\u2011', "-"},
    {U'\u2012', "-"},   {U'\u2013', "-"},   {U'\u2014', "--"},   {U'\u2018', "'"},
    {U'\u2019', "'"},   {U'\u201A', "'"},   {U'\u201C', "\""},   {U'\u201D', "\""},
    {U'\u201E', "\""},  {U'\u2026', "..."}, {U'\u2022', "\xB7"}, {U'\u2009', " "},
    {U'\u202F', " "},   {U'\u2030', "%o"},  {U'\u2122', "TM"},   {U'\u2264', "<="},
    {U'\u2265', ">="},  {U'\u2260', "!="},  {U'\u221E', "inf"},  {U'\u22C5', "\xB7"},
};

// Requests larger than this are left to Qt, which sends them in parts; our answer goes in
// one property, and the server takes requests of 256 kB in any case.
constexpr qsizetype MaxAnswer = 256 * 1024 - 64;

xcb_atom_t Atom(xcb_connection_t* connection, const char* name) {
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

}  // namespace

QByteArray Latin1Selection::ToLatin1(const QString& text) {
    QByteArray out;
    out.reserve(text.size());
    for (const char32_t c : QStringView(text).toUcs4()) {
        if (c < 0x100) {
            out.append(static_cast<char>(c));
            continue;
        }
        const Spelling* spelling =
            std::find_if(std::begin(Spellings), std::end(Spellings),
                         [c](const Spelling& s) { return s.character == c; });
        if (spelling != std::end(Spellings)) {
            out.append(spelling->latin1);
            continue;
        }
        // Compatibility forms that have a Latin-1 spelling: ligatures, full-width forms,
        // superscripts, fractions ...
        const QString compatible =
            QString::fromUcs4(&c, 1).normalized(QString::NormalizationForm_KC);
        if (std::all_of(compatible.begin(), compatible.end(),
                        [](QChar q) { return q.unicode() < 0x100; })) {
            out.append(compatible.toLatin1());
            continue;
        }
        out.append("\\x{" + QByteArray::number(static_cast<uint>(c), 16).toUpper() + "}");
    }
    return out;
}

void Latin1Selection::Install() {
    if (qGuiApp == nullptr ||
        qGuiApp->nativeInterface<QNativeInterface::QX11Application>() == nullptr)
        return;
    static Latin1Selection filter;
    QCoreApplication::instance()->installNativeEventFilter(&filter);
}

bool Latin1Selection::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    if (eventType != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7F) != XCB_SELECTION_REQUEST) return false;
    const auto* request = static_cast<const xcb_selection_request_event_t*>(message);
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) return false;
    xcb_connection_t* connection = x11->connection();

    static const xcb_atom_t Clipboard = Atom(connection, "CLIPBOARD");
    static const xcb_atom_t Text = Atom(connection, "TEXT");
    static const xcb_atom_t Utf8String = Atom(connection, "UTF8_STRING");
    if (request->target != XCB_ATOM_STRING && request->target != Text) return false;

    QClipboard* clipboard = QGuiApplication::clipboard();
    QClipboard::Mode mode;
    if (request->selection == Clipboard && clipboard->ownsClipboard()) {
        mode = QClipboard::Clipboard;
    } else if (request->selection == XCB_ATOM_PRIMARY && clipboard->ownsSelection()) {
        mode = QClipboard::Selection;
    } else {
        return false;
    }
    const QMimeData* mime = clipboard->mimeData(mode);
    if (mime == nullptr || !mime->hasText()) return false;

    const bool latin1 = request->target == XCB_ATOM_STRING;
    const QByteArray data = latin1 ? ToLatin1(mime->text()) : mime->text().toUtf8();
    if (data.size() > MaxAnswer) return false;

    // Clients older than the ICCCM name no property; the target then serves as one.
    const xcb_atom_t property =
        request->property == XCB_ATOM_NONE ? request->target : request->property;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, request->requestor, property,
                        latin1 ? xcb_atom_t{XCB_ATOM_STRING} : Utf8String, 8,
                        static_cast<std::uint32_t>(data.size()), data.constData());
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request->time;
    notify.requestor = request->requestor;
    notify.selection = request->selection;
    notify.target = request->target;
    notify.property = property;
    xcb_send_event(connection, 0, request->requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&notify));
    xcb_flush(connection);
    return true;
}
