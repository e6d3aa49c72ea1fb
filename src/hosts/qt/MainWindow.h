// The frame window: it plays the FDT frame for the control. It takes the business object (or
// makes the simulated master), creates DTMGUI, opens it with the chosen function and language,
// renders it, sizes it with the window and releases it when the window closes. Menus reopen
// the control with another function or language and drive the simulated master.
#pragma once

#include <QMainWindow>
#include <memory>
#include <string>

#include "AppOptions.h"
#include "QtServices.h"
#include "link/BusinessObject.h"

class QActionGroup;
class QTranslator;
class QMenu;

namespace kestrova {
class DTMGUI;
class IGuiBridge;
namespace sim {
class Simulator;
}
}  // namespace kestrova

namespace kestrova::qt {

class Renderer;

class MainWindow : public QMainWindow {
  public:
    // Throws std::invalid_argument when the options name something the simulator does not know
    // (a profile, a malformed control line). Without a business object the frame makes the
    // simulated master.
    explicit MainWindow(const AppOptions& options, BusinessObject business = {},
                        QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens the control with a function id and a locale id, replacing the one open. Answers
    // what Init answered.
    bool OpenDtm(int functionId, int locale);
    // PrepareToRelease and tear down; nothing happens when no control is open.
    void CloseDtm();

    DTMGUI* Dtm() const { return dtm_.get(); }
    Renderer* GetRenderer() const { return renderer_.get(); }
    sim::Simulator& Simulator() const { return *sim_; }
    QtServices& Services() { return services_; }
    int FunctionId() const { return functionId_; }
    int Locale() const { return locale_; }

    // Runs a simulator control line; a refused line is shown in a message box. Answers
    // whether the simulator took it.
    bool SimulatorControl(const std::string& line);
    // The same, answering the output; a refused line throws std::invalid_argument.
    std::string Control(const std::string& line);
    // Opens the page of a tree node, given by key or text; false when there is none.
    bool OpenPage(const std::string& keyOrText);
    // Clicks a control by its dotted path below the control; false when there is none.
    bool ClickControl(const std::string& path);

    // The DTM version the About page names (the business object's version item); empty when no
    // control is open.
    QString DtmVersion() const;

    // The size of the control area for a control size in twips (its design size at start).
    QSize HostSizeFor(int32_t widthTwips, int32_t heightTwips) const;

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void BuildMenus();
    void UseQtLanguage(int locale);
    void UpdateChecks();
    void UpdateTitle();
    void FitDtmToHost();
    void PlugMaster(const std::string& product);
    void UnplugMaster();
    void RaiseDeviceEvent();
    void ShowSimulatorStatus();
    void ReportError(const std::string& message);

    AppOptions options_;
    std::shared_ptr<sim::Simulator> sim_;  // the built-in simulator, when it is the business object
    BusinessObject business_;
    std::shared_ptr<IGuiBridge> bridge_;  // the business object as the frame hands it over
    QtServices services_;
    QWidget* host_ = nullptr;
    double dpi_ = 96;
    int functionId_ = 0;
    int locale_ = 0;
    std::string port_;
    std::unique_ptr<DTMGUI> dtm_;
    std::unique_ptr<Renderer> renderer_;  // declared after dtm_: goes first

    std::unique_ptr<QTranslator> qtTranslator_;  // Qt's own texts in the control's language

    QActionGroup* functionGroup_ = nullptr;
    QActionGroup* languageGroup_ = nullptr;
    QActionGroup* portGroup_ = nullptr;
    QActionGroup* profileGroup_ = nullptr;
};

}  // namespace kestrova::qt
