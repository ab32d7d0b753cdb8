// Where the service's own ingest is reached, kept in the database: the service knows it from its
// command line, and the commands that speak of it run beside the service or without it.
//
// Threads: those of the store.
#ifndef ORVANE_SERVICE_INGESTADDRESS_H
#define ORVANE_SERVICE_INGESTADDRESS_H

#include "service/Api.h"
#include "service/Store.h"

namespace service {

// Of the service that starts; written only when it is another one than before, since a database
// that can't be written is no reason not to serve from it.
Outcome KeepIngestAddress(Store* store, const Settings& settings);

// Puts what the last service kept into settings, and leaves the defaults where none has.
Outcome FindIngestAddress(Store* store, Settings* settings);

}  // namespace service

#endif
