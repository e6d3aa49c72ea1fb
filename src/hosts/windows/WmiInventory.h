// USB master discovery's view of the Windows device inventory: the Win32_PnPEntity instances
// read through the "winmgmts:" moniker by late binding, as scripts read them.
#pragma once

#include <vector>

#include "ui/Services.h"

#include <oaidl.h>

#include "ComTypes.h"

namespace kestrova::win {

// DeviceID and Name of every Win32_PnPEntity instance. The WMI service object is obtained on
// the first read and kept with the control (whose thread is the one that made it); the instance
// set is kept until Renew. An instance whose properties cannot be read is skipped; Read raises
// VbError when WMI itself cannot be reached.
class WmiInventory {
  public:
    std::vector<ui::InventoryRecord> Read();
    // Drops the kept instance set, so the next read fetches the instances again.
    void Renew() { instances_.Reset(); }

  private:
    IDispatch* Service();
    IDispatch* Instances();

    ComPtr<IDispatch> service_;
    ComPtr<IDispatch> instances_;
};

}  // namespace kestrova::win
