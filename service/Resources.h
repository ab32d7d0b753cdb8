// The files that are compiled into the service: demonstration pictures and the ingest's template.
#ifndef ORVANE_SERVICE_RESOURCES_H
#define ORVANE_SERVICE_RESOURCES_H

#include <QByteArray>

namespace service {

// The content of a file of resources/. Never empty for a name that is there.
QByteArray ReadResource(const char* name);

}  // namespace service

#endif
