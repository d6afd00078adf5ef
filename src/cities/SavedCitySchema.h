#pragma once

#include <cstdint>

namespace tarvo {

class SqliteDatabase;

/// The layouts of the saved-cities tables that upgrades lead to (1 to kSavedCityLayouts).
inline constexpr int64_t kSavedCityLayouts = 5;

/// Runs the statements of the upgrade that leads to `layout` (1 to kSavedCityLayouts) on the
/// connection, each attempted and its outcome logged; a failing step never stops the upgrade.
/// Other layouts do nothing.
void upgradeSavedCityLayout(SqliteDatabase& database, int64_t layout);

}  // namespace tarvo
