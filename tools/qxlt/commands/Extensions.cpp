#include "Extensions.h"

#include "Companion.h"

namespace qxlt {

void BecomeFleetProgram(const std::string& work, const std::vector<std::string>& arguments) {
    BecomeCompanion({"qxlt-fleet", work, "libmosquitto, SQLite and libpq"}, arguments);
}

}  // namespace qxlt
