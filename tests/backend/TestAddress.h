// The base address of the tests' own making, linked in the place of the program's.
#ifndef ORVANE_TESTS_BACKEND_TESTADDRESS_H
#define ORVANE_TESTS_BACKEND_TESTADDRESS_H

#include <QString>

void SetTestAddress(const QString& address);

#endif
