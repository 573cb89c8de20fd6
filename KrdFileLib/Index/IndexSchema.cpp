#include "KrdFileLib/Index/IndexSchema.h"

#include "KrdFileLib/Index/ChannelGroupTable.h"
#include "KrdFileLib/Index/ChannelTable.h"
#include "KrdFileLib/Index/DataTable.h"
#include "KrdFileLib/Index/DeviceAttributesTable.h"
#include "KrdFileLib/Index/DeviceTable.h"
#include "KrdFileLib/Index/EventSourceTable.h"
#include "KrdFileLib/Index/EventTable.h"
#include "KrdFileLib/Index/FileInformationTable.h"
#include "KrdFileLib/Index/PhysicalChannelAttrTable.h"
#include "KrdFileLib/Index/PhysicalChannelTable.h"
#include "KrdFileLib/Index/PostProcessTable.h"

namespace Varnholt::KrdFiles::Index {

std::vector<std::string> CreateTableTexts() {
  return {
      PostProcessTable().CreateTableText(),
      ChannelGroupTable().CreateTableText(),
      ChannelTable().CreateTableText(),
      DeviceAttributesTable().CreateTableText(),
      DeviceTable().CreateTableText(),
      EventSourceTable().CreateTableText(),
      EventTable().CreateTableText(),
      FileInformationTable().CreateTableText(),
      PhysicalChannelAttrTable().CreateTableText(),
      PhysicalChannelTable().CreateTableText(),
      DataTable().CreateTableText(),
  };
}

}  // namespace Varnholt::KrdFiles::Index
