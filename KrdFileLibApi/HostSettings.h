#pragma once

#include "KrdFileLibApi.h"
#include "KrdFileLibApi/LibraryInstance.h"

namespace Varnholt::KrdFiles {

// Reads Initialize's settings cluster. Each row of the data-type table
// registers one type: column 0 is the ID, column 1 the sample size, further
// columns are ignored. The host is not expected to pass a table that cannot
// hold those two columns, but nothing of such a table is read: a null
// handle, a negative dimension or fewer than two columns give no rows.
LibraryConfiguration ReadHostSettings(const KrdLibrarySettings& settings);

}  // namespace Varnholt::KrdFiles
