#include "service/Resources.h"

#include <QFile>

// At file scope, as the macro demands: it names a function of the generated resource code, which
// the linker would otherwise leave out of a static library.
static void LoadResources() {
  Q_INIT_RESOURCE(service);
}

namespace service {

QByteArray ReadResource(const char* name) {
  LoadResources();
  QFile file(QStringLiteral(":/service/") + QLatin1String(name));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace service
