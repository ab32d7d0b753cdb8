// The tables of the database, version by version.
//
// Each entry brings the schema from the version before it to its own: the first makes version 1.
// Entries are never changed, only added. Threads: any.
#ifndef ORVANE_SERVICE_SCHEMA_H
#define ORVANE_SERVICE_SCHEMA_H

#include <vector>

namespace service {

const std::vector<std::vector<const char*>>& Migrations();

}  // namespace service

#endif
