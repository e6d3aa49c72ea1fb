// A business object that passes every call on and writes it down, one line per call:
//   > COMMAND / < ANSWER        SendCommand and its answer ("<" alone for an empty answer)
//   = NAME VALUE                SetItem
//   + RegisterGui PROGID ID     - UnregisterGui ID     x CloseGui ID     ! NotifyGuiReleased
// A call that throws adds "< ERROR n: description" and the error goes on to the caller.
// Control characters in texts are written escaped (\n, \r, \t, \xNN) so each call stays on
// its line.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "link/IGuiBridge.h"

namespace kestrova::headless {

class RecordingBridge : public IGuiBridge {
  public:
    explicit RecordingBridge(std::shared_ptr<IGuiBridge> inner, size_t capacity = 100000);

    void RegisterGui(const std::string& progId, const std::string& invokeId) override;
    void UnregisterGui(const std::string& invokeId) override;
    void CloseGui(const std::string& invokeId) override;
    Variant SendCommand(const std::string& text) override;
    void SetItem(const std::string& name, const Variant& value) override;
    void NotifyGuiReleased() override;

    // Lines recorded since the last Take; when more than the capacity piled up, the oldest
    // were dropped and the first line says how many.
    std::vector<std::string> Lines() const;
    std::vector<std::string> Take();

  private:
    void Add(std::string line);
    template <class Fn>
    auto Pass(Fn&& fn);

    std::shared_ptr<IGuiBridge> inner_;
    size_t capacity_;
    std::vector<std::string> lines_;
    size_t dropped_ = 0;
};

}  // namespace kestrova::headless
