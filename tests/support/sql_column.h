#pragma once
// Reading a simulator's database in unit tests.

#include <string>

#include "store/database.h"

// The first column of every row `sql` reads from `db`, joined with commas.
inline std::string Column(sim::Database &db, const char *sql) {
    sim::Statement read(db, sql);
    std::string values;
    while (read.Step())
        values += (values.empty() ? "" : ",") + read.Text(0);
    return values;
}
