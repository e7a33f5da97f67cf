#pragma once

namespace store {
class Connection;
}

namespace bench {

// A realistic large organisation: 12 areas, 400 staff with contracts, hours over three
// years (half of them archived in HHORAS), teaching links and close requests. `scale` 1 is
// the full size (1,000,000 rows in HORAS and as many in HHORAS); 0.1 a tenth of it.
struct LargeStoreSize {
    int areas = 12;
    int staff = 400;
    int hoursRows = 1000000;    // in HORAS after the archive
    int archiveRows = 1000000;  // in HHORAS
};

LargeStoreSize sizeFor(double scale);
// The area of staff member `person` (0-based): A00 holds about 8% of the hours (the large
// month close), A01 about 2% (the export and the area report), the other areas the rest.
int areaOfPerson(int person, const LargeStoreSize &size);
inline constexpr const char *kCloseArea = "A00";
inline constexpr const char *kReportArea = "A01";
// Drops every table, creates the schema and fills it. Prints progress to stderr.
void fillLargeStore(store::Connection &conn, const LargeStoreSize &size);

}  // namespace bench
