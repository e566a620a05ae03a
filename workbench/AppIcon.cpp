#include "AppIcon.h"

// The icon images live in a resource file compiled into this static library. Nothing in a
// static library is linked in unless something refers to it, so the resource is registered
// here, on first use, rather than by a static initialiser.
static void RegisterIconResource() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(kelvara);
        return true;
    }();
    (void)registered;
}

QIcon AppIcon() {
    RegisterIconResource();
    QIcon icon;
    icon.addFile(QStringLiteral(":/kelvara/kelvara-16.png"), QSize(16, 16));
    icon.addFile(QStringLiteral(":/kelvara/kelvara-32.png"), QSize(32, 32));
    return icon;
}
