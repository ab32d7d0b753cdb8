// From the rows of a query to records; for the files of the Store.
//
// Threads: the Store's.
#ifndef ORVANE_SERVICE_ROWS_H
#define ORVANE_SERVICE_ROWS_H

#include <QList>
#include <QSqlQuery>
#include <QString>

#include "service/Records.h"

namespace service {

// rows: null when the query failed.
template <typename Record, typename Read>
Outcome ReadAll(QSqlQuery* rows, Read read, QList<Record>* records) {
  if (rows == nullptr) {
    return Outcome::Failed;
  }
  while (rows->next()) {
    records->append(read(*rows));
  }
  rows->finish();
  return Outcome::Done;
}

template <typename Record, typename Read>
Outcome ReadOne(QSqlQuery* rows, Read read, Record* record) {
  if (rows == nullptr) {
    return Outcome::Failed;
  }
  const bool found = rows->next();
  if (found) {
    *record = read(*rows);
  }
  rows->finish();
  return found ? Outcome::Done : Outcome::NotFound;
}

inline QString NotNull(const QString& text) {
  return text.isNull() ? QStringLiteral("") : text;
}

}  // namespace service

#endif
