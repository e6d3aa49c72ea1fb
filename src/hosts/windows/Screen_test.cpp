// The control on screen under a real window system: the renderer's windows and their messages,
// the main control's layout in pixels, and in-place activation in a hand-written container and
// in ATL's host window.
#include <windows.h>

#include <commctrl.h>
#include <ole2.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "ClassFactory.h"
#include "ControlSite.h"
#include "DtmGuiObject.h"
#include "FrameWindow.h"
#include "HeadlessServices.h"
#include "InPlaceControl.h"
#include "Renderer.h"
#include "dtmgui/DTMGUI.h"
#include "tools/Vb.h"

namespace kestrova::win {
namespace {

using Lines = std::vector<std::string>;
using ui::Kind;

class OleEnvironment : public ::testing::Environment {
  public:
    void SetUp() override { OleInitialize(nullptr); }
    void TearDown() override { OleUninitialize(); }
};
const auto* const kOle = ::testing::AddGlobalTestEnvironment(new OleEnvironment);

std::string ClassOf(HWND window) {
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    return Narrow(name);
}

std::string TextOf(HWND window) {
    wchar_t text[256] = {};
    GetWindowTextW(window, text, 256);
    return Narrow(text);
}

// The window's place inside its parent, in pixels.
RECT PlaceOf(HWND window) {
    RECT box{};
    GetWindowRect(window, &box);
    MapWindowPoints(HWND_DESKTOP, GetParent(window), reinterpret_cast<POINT*>(&box), 2);
    return box;
}

// Colours in the window's picture: a blank window has one or two.
size_t ColoursIn(HWND window) {
    RECT client{};
    GetClientRect(window, &client);
    HDC source = GetDC(window);
    std::set<COLORREF> seen;
    for (int y = 0; y < client.bottom; y += 3)
        for (int x = 0; x < client.right; x += 3) seen.insert(GetPixel(source, x, y));
    ReleaseDC(window, source);
    return seen.size();
}

class ScreenTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!frame.Handle()) GTEST_SKIP() << "no display for windows";
    }
    FrameWindow frame{L"Screen test", 900, 650};
};

// --- the renderer, on a small model of every kind ---

class RendererTest : public ScreenTest {
  protected:
    RendererTest() {
        const auto note = [this](std::string line) { log.push_back(std::move(line)); };
        auto& go = root.AddAt(Kind::CommandButton, "BTGo", 100, 100, 1200, 375, "Go");
        go.Click = [note] { note("click"); };
        root.AddAt(Kind::CommandButton, "BTFail", 100, 600, 1200, 375, "Fail").Click = [] {
            Raise(vberr::InvalidProcedureCall);
        };
        auto& text = root.AddAt(Kind::TextBox, "Text1", 1500, 100, 1500, 300);
        text.Change = [note, &text] { note("change " + text.Text()); };
        // Digits only, and a lower-case x becomes upper-case.
        text.KeyPress = [](int16_t& key) {
            if (key == 'x') key = 'X';
            if (key >= 'a' && key <= 'z') key = 0;
        };
        root.AddAt(Kind::Label, "Label1", 100, 1100, 1500, 250, "A &label");
        auto& check = root.AddAt(Kind::CheckBox, "Check1", 1500, 600, 1500, 300, "Check");
        check.Click = [note, &check] { note("check " + std::to_string(check.Value())); };
        auto& combo = root.AddAt(Kind::ComboBox, "Combo1", 3200, 100, 1500, 300);
        for (const char* item : {"COM3", "COM4", "COM7"}) combo.AddItem(item);
        combo.Click = [note, &combo] { note("pick " + combo.Text()); };
        auto& frameCtl = root.AddAt(Kind::Frame, "Frame1", 100, 1500, 3000, 1500, "Options");
        for (int i = 0; i < 2; ++i) {
            auto& option = frameCtl.AddControl(Kind::OptionButton, "Option1", i);
            option.Move(150, 300 + 400 * i, 1500, 300);
            option.SetCaption("Opt");
        }
        root.AddAt(Kind::Shape, "Shape1", 3200, 600, 300, 300).SetFillColor(ui::Rgb(0, 200, 0));
        root.AddAt(Kind::Image, "Image1", 3600, 600, 600, 600).SetPicture("lamp_on");
        auto& tree = root.AddAt(Kind::TreeView, "TreeMenu", 3300, 1500, 2000, 1500);
        for (const char* key : {"K1", "K2", "K3"}) tree.AddNode(key, std::string("Node ") + key);
        tree.NodeClick = [note](const std::string& key) { note("node " + key); };
        auto& list = root.AddAt(Kind::ListView, "List1", 5500, 100, 3000, 1500);
        list.AddColumn("Code", 1000);
        list.AddColumn("Text", 1500);
        auto& bar = root.AddAt(Kind::StatusBar, "StatusBar1", 0, 7000, 9000, 300);
        bar.AddPanel("Connected", 1500);
        bar.AddPanel("Device", 3000);
        root.AddControl(Kind::Timer, "Timer1");
        root.Move(0, 0, 9000, 7300);
        view = std::make_unique<Renderer>(root, frame.Handle(), 96);
        view->OnError = [this](const char* what, std::exception_ptr error) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& e) {
                log.push_back(std::string("error ") + what + ": " + e.what());
            }
        };
        ShowWindow(view->RootWindow(), SW_SHOWNA);
    }
    HWND Window(const char* path) { return FindControlWindow(view->RootWindow(), path); }
    ui::Control& Model(const char* path) { return *root.Resolve(path); }
    std::string TipOf(const char* path) {
        wchar_t text[80] = {};
        TTTOOLINFOW tool{};
        tool.cbSize = sizeof(tool);
        tool.hwnd = GetParent(Window(path));
        tool.uId = reinterpret_cast<UINT_PTR>(Window(path));
        tool.lpszText = text;
        SendMessageW(view->ToolTips(), TTM_GETTEXTW, 80, reinterpret_cast<LPARAM>(&tool));
        return Narrow(text);
    }
    bool ListEndInView() {
        HWND list = Window("List1");
        const LRESULT count = SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
        return SendMessageW(list, LVM_GETTOPINDEX, 0, 0) +
                   SendMessageW(list, LVM_GETCOUNTPERPAGE, 0, 0) >=
               count;
    }

    ui::UserControl root{"Main"};
    std::unique_ptr<Renderer> view;
    Lines log;
};

TEST_F(RendererTest, EachKindIsItsNativeWindowFoundByItsPath) {
    const std::pair<const char*, const char*> cases[] = {
        {"Main", "KestrovaPanel"},
        {"BTGo", "Button"},
        {"Text1", "Edit"},
        {"Label1", "Static"},
        {"Check1", "Button"},
        {"Combo1", "ComboBox"},
        {"Frame1", "KestrovaPanel"},
        {"frame1.option1(1)", "Button"},
        {"Shape1", "KestrovaPaint"},
        {"Image1", "KestrovaPaint"},
        {"TreeMenu", "SysTreeView32"},
        {"List1", "SysListView32"},
        {"StatusBar1", "msctls_statusbar32"},
    };
    for (const auto& [path, windowClass] : cases) {
        HWND window = Window(path);
        ASSERT_TRUE(window) << path;
        EXPECT_TRUE(_stricmp(ClassOf(window).c_str(), windowClass) == 0)
            << path << " is a " << ClassOf(window);
        const ui::Control* shown = _stricmp(path, "Main") == 0 ? &root : root.Resolve(path);
        EXPECT_EQ(view->ControlFor(window), shown) << path;
    }
    EXPECT_FALSE(Window("Timer1")) << "timers have no window";
    EXPECT_EQ(WindowControlPath(Window("Frame1.Option1(0)")), "Frame1.Option1(0)");
    // Placed at 96 DPI from twips: 15 twips a pixel, inside the frame for its options.
    const RECT button = PlaceOf(Window("BTGo"));
    EXPECT_EQ(button.left, 7);
    EXPECT_EQ(button.right - button.left, 80);
    EXPECT_EQ(PlaceOf(Window("Frame1.Option1(1)")).top, 47);
    EXPECT_EQ(GetParent(Window("Frame1.Option1(1)")), Window("Frame1"));
}

TEST_F(RendererTest, ModelChangesReachOnlyTheirWindows) {
    struct Case {
        const char* what;
        std::function<void()> change;
        std::function<bool()> shown;
    };
    const std::vector<Case> cases = {
        {"caption", [&] { Model("BTGo").SetCaption("Start"); },
         [&] { return TextOf(Window("BTGo")) == "Start"; }},
        {"disabled", [&] { Model("Text1").SetEnabled(false); },
         [&] { return !IsWindowEnabled(Window("Text1")); }},
        {"hidden", [&] { Model("Frame1").SetVisible(false); },
         [&] { return !IsWindowVisible(Window("Frame1.Option1(0)")); }},
        {"checked", [&] { Model("Check1").SetValue(1); },
         [&] { return SendMessageW(Window("Check1"), BM_GETCHECK, 0, 0) == BST_CHECKED; }},
        {"greyed", [&] { Model("Check1").SetValue(2); },
         [&] { return SendMessageW(Window("Check1"), BM_GETCHECK, 0, 0) == BST_INDETERMINATE; }},
        {"list", [&] { Model("Combo1").AddItem("COM9"), Model("Combo1").SetListIndex(3); },
         [&] {
             return SendMessageW(Window("Combo1"), CB_GETCOUNT, 0, 0) == 4 &&
                    SendMessageW(Window("Combo1"), CB_GETCURSEL, 0, 0) == 3;
         }},
        {"list cleared", [&] { Model("Combo1").Clear(); },
         [&] { return SendMessageW(Window("Combo1"), CB_GETCOUNT, 0, 0) == 0; }},
        {"text", [&] { Model("Text1").SetText("0x1F"); },
         [&] { return TextOf(Window("Text1")) == "0x1F"; }},
        {"locked", [&] { Model("Text1").SetLocked(true); },
         [&] { return (GetWindowLongW(Window("Text1"), GWL_STYLE) & ES_READONLY) != 0; }},
        {"moved", [&] { Model("BTGo").Move(300, 150, 1500, 450); },
         [&] {
             const RECT r = PlaceOf(Window("BTGo"));
             return r.left == 20 && r.top == 10 && r.right == 120 && r.bottom == 40;
         }},
        {"rows",
         [&] {
             Model("List1").AddRow({"0x1800", "Event"}), Model("List1").AddRow({"1"});
         },
         [&] { return SendMessageW(Window("List1"), LVM_GETITEMCOUNT, 0, 0) == 2; }},
        {"row removed", [&] { Model("List1").RemoveRow(1); },
         [&] { return SendMessageW(Window("List1"), LVM_GETITEMCOUNT, 0, 0) == 1; }},
        {"columns fitted: the last fills the row",
         [&] {
             Model("List1").AddRow({"0x8CA0", "A text far wider than its column was"});
         },
         [&] {
             HWND list = Window("List1");
             RECT client{}, cell{};
             GetClientRect(list, &client);
             cell.top = 1;
             cell.left = LVIR_BOUNDS;
             SendMessageW(list, LVM_GETSUBITEMRECT, 0, reinterpret_cast<LPARAM>(&cell));
             const LRESULT second = SendMessageW(list, LVM_GETCOLUMNWIDTH, 1, 0);
             return cell.right >= client.right - 1 && second > 100;  // 1500 twips: 100 px
         }},
        {"newest row in view",
         [&] {
             for (int i = 0; i < 30; ++i) Model("List1").AddRow({std::to_string(i), "row"});
         },
         [&] { return ListEndInView(); }},
        {"scrolled away: the list stays",
         [&] {
             SendMessageW(Window("List1"), LVM_ENSUREVISIBLE, 0, FALSE);
             Model("List1").AddRow({"new", "row"});
         },
         [&] { return SendMessageW(Window("List1"), LVM_GETTOPINDEX, 0, 0) == 0; }},
        {"nodes", [&] { Model("TreeMenu").AddNode("K4", "Four"); },
         [&] { return SendMessageW(Window("TreeMenu"), TVM_GETCOUNT, 0, 0) == 4; }},
        {"tooltip", [&] { Model("Text1").SetToolTipText("Wrong number format"); },
         [&] { return TipOf("Text1") == "Wrong number format"; }},
        {"tooltip gone", [&] { Model("Text1").SetToolTipText(""); },
         [&] { return SendMessageW(view->ToolTips(), TTM_GETTOOLCOUNT, 0, 0) == 0; }},
        {"a text cut by its box tells itself",
         [&] { Model("Text1").SetText("0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09"); },
         [&] { return TipOf("Text1") == "0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09"; }},
        {"its own tooltip wins", [&] { Model("Text1").SetToolTipText("Outputs"); },
         [&] { return TipOf("Text1") == "Outputs"; }},
        {"a text that fits tells nothing",
         [&] { Model("Text1").SetToolTipText(""), Model("Text1").SetText("0x01"); },
         [&] { return SendMessageW(view->ToolTips(), TTM_GETTOOLCOUNT, 0, 0) == 0; }},
        {"panels", [&] { Model("StatusBar1").AddPanel("x", 900); },
         [&] { return SendMessageW(Window("StatusBar1"), SB_GETPARTS, 0, 0) == 3; }},
    };
    for (const Case& c : cases) {
        c.change();
        PumpMessages();
        EXPECT_TRUE(c.shown()) << c.what;
    }
    // The model's own events fire (a value set, a list entry chosen); the windows add none.
    EXPECT_EQ(log, (Lines{"check 1", "check 2", "pick COM9", "change 0x1F",
                          "change 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09", "change 0x01"}));
}

TEST_F(RendererTest, WindowMessagesBecomeTheModelsUserInput) {
    SendMessageW(Window("BTGo"), BM_CLICK, 0, 0);
    SendMessageW(Window("Check1"), BM_CLICK, 0, 0);
    SendMessageW(Window("Frame1.Option1(1)"), BM_CLICK, 0, 0);
    SendMessageW(Window("Frame1.Option1(0)"), BM_CLICK, 0, 0);
    SendMessageW(Window("Text1"), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"12"));
    SendMessageW(Window("Text1"), EM_SETSEL, 2, 2);  // typing goes on after the text
    for (wchar_t key : {L'3', L'a', L'x'}) SendMessageW(Window("Text1"), WM_CHAR, key, 1);
    HWND combo = Window("Combo1");
    SendMessageW(combo, CB_SETCURSEL, 1, 0);  // the entry above the one the arrow key reaches
    SendMessageW(combo, WM_KEYDOWN, VK_DOWN, 1);
    SendMessageW(Window("BTFail"), BM_CLICK, 0, 0);
    SendMessageW(Window("BTGo"), BM_CLICK, 0, 0);
    PumpMessages();
    EXPECT_EQ(log, (Lines{"click", "check 1", "change 12", "change 123", "change 123X", "pick COM7",
                          "error click: Invalid procedure call or argument", "click"}));
    EXPECT_EQ(Model("Frame1.Option1(0)").Value(), 1);
    EXPECT_EQ(Model("Frame1.Option1(1)").Value(), 0) << "the model keeps one option chosen";
    EXPECT_EQ(SendMessageW(Window("Frame1.Option1(1)"), BM_GETCHECK, 0, 0), BST_UNCHECKED);
}

TEST_F(RendererTest, ATreeClickIsANodeClickAlsoOnTheChosenNode) {
    HWND tree = Window("TreeMenu");
    const auto click = [tree](int index) {
        HTREEITEM item = TreeView_GetRoot(tree);
        for (int i = 0; i < index; ++i) item = TreeView_GetNextSibling(tree, item);
        RECT box{};
        TreeView_GetItemRect(tree, item, &box, TRUE);
        const LPARAM at = MAKELPARAM((box.left + box.right) / 2, (box.top + box.bottom) / 2);
        PostMessageW(tree, WM_LBUTTONDOWN, MK_LBUTTON, at);
        PostMessageW(tree, WM_LBUTTONUP, 0, at);
        PumpMessages();
    };
    click(1);
    click(1);
    Model("TreeMenu").SelectNode("K3");  // the program's choice is not a click
    PumpMessages();
    click(0);
    EXPECT_EQ(log, (Lines{"node K2", "node K2", "node K1"}));
    EXPECT_EQ(Model("TreeMenu").SelectedKey(), "K1");
}

TEST_F(RendererTest, ShapesPicturesAndTheStatusBarAreDrawn) {
    UpdateWindow(frame.Handle());
    PumpMessages();
    EXPECT_GT(ColoursIn(Window("Image1")), 10u) << "the lamp picture";
    EXPECT_GE(ColoursIn(Window("Shape1")), 2u) << "fill and border";
    EXPECT_GT(ColoursIn(Window("StatusBar1")), 2u) << "panel texts";
}

// --- the main control's layout in pixels ---

class LayoutTest : public ScreenTest {
  protected:
    LayoutTest()
        : services([] { return std::vector<ui::InventoryRecord>{}; }, [](const std::string&) {}),
          gui(services) {
        gui.SetClock(&services.Clock());
        view = std::make_unique<Renderer>(gui, frame.Handle(), 96);
        ShowWindow(view->RootWindow(), SW_SHOWNA);
    }
    RECT Place(const char* path) { return PlaceOf(FindControlWindow(view->RootWindow(), path)); }
    headless::HeadlessServices services;
    DTMGUI gui;
    std::unique_ptr<Renderer> view;
};

TEST_F(LayoutTest, ResizingFollowsTheLayoutInPixelsAndSpringsBackAtTheSmallestSize) {
    const std::pair<int, int> sizes[] = {{900, 650}, {1200, 800}, {480, 280}, {200, 500}};
    for (const auto& [width, height] : sizes) {
        view->SetBounds(0, 0, width, height);
        PumpMessages();
        // Below 7500 x 4500 twips (500 x 300 pixels at 96 DPI) the control keeps that size.
        const int w = std::max(width, 500), h = std::max(height, 300);
        const RECT root = PlaceOf(view->RootWindow());
        EXPECT_EQ(root.right - root.left, w) << width;
        EXPECT_EQ(root.bottom - root.top, h) << height;
        const RECT work = Place("FrmWork"), menu = Place("frmMenu"), close = Place("cmdClose"),
                   bar = Place("StatusBar1");
        const int m = 5, closeHeight = close.bottom - close.top, barHeight = bar.bottom - bar.top;
        const auto within1 = [](long got, long want) { return std::abs(got - want) <= 1; };
        EXPECT_TRUE(within1(work.right, w - m)) << "page frame width, " << width;
        EXPECT_TRUE(within1(work.bottom, h - 2 * m - closeHeight - barHeight)) << height;
        EXPECT_TRUE(within1(menu.bottom, h - 2 * m - closeHeight - barHeight)) << height;
        EXPECT_TRUE(within1(close.right, w - m)) << "close button, " << width;
        EXPECT_TRUE(within1(close.top, work.bottom + m)) << height;
        for (const char* logo : {"ImageLogos(1)", "ImageLogos(2)"})
            EXPECT_TRUE(within1(Place(logo).right, work.right - 1)) << logo << ", " << width;
    }
}

// --- in-place activation ---

class ActivationTest : public ScreenTest {
  protected:
    void SetUp() override {
        ScreenTest::SetUp();
        ASSERT_HRESULT_SUCCEEDED(DtmGuiObject::Create(IID_IUnknown, control.PutVoid()));
    }
    ComPtr<IUnknown> control;
};

TEST_F(ActivationTest, AHandWrittenContainerActivatesItInPlaceInEitherOrder) {
    for (const bool initNewFirst : {false, true}) {
        ComPtr<ControlSite> site(ControlSite::Create(frame.Handle()), false);
        ASSERT_HRESULT_SUCCEEDED(site->Attach(control.Get(), initNewFirst)) << initNewFirst;
        HWND window = site->ControlWindow();
        ASSERT_TRUE(window) << initNewFirst;
        EXPECT_TRUE(site->Active());
        EXPECT_EQ(GetParent(window), frame.Handle());
        EXPECT_TRUE(IsWindowVisible(window));
        EXPECT_EQ(WindowControlPath(window), "DTMGUI");
        EXPECT_TRUE(FindControlWindow(window, "TreeMenu"));
        const RECT place = PlaceOf(window);
        RECT client{};
        GetClientRect(frame.Handle(), &client);
        EXPECT_EQ(place.right - place.left, client.right) << "the container's size";

        frame.SetClientSize(700, 520);
        site->Resize();
        EXPECT_EQ(PlaceOf(window).right, 700);

        site->Detach();
        EXPECT_FALSE(IsWindow(window)) << "deactivation takes the windows down";
        EXPECT_FALSE(site->Active());
        frame.SetClientSize(900, 650);
    }
}

TEST_F(ActivationTest, ItTellsContainersWhatAWindowedControlIsAndKeepsItsExtent) {
    auto object = control.As<IOleObject>();
    ASSERT_TRUE(object);
    DWORD status = 0;
    ASSERT_HRESULT_SUCCEEDED(object->GetMiscStatus(DVASPECT_CONTENT, &status));
    for (DWORD bit : {OLEMISC_SETCLIENTSITEFIRST, OLEMISC_ACTIVATEWHENVISIBLE, OLEMISC_INSIDEOUT,
                      OLEMISC_RECOMPOSEONRESIZE, OLEMISC_CANTLINKINSIDE})
        EXPECT_TRUE(status & bit) << std::hex << bit;
    EXPECT_FALSE(status & OLEMISC_INVISIBLEATRUNTIME);

    SIZEL extent{12000, 9000};
    ASSERT_HRESULT_SUCCEEDED(object->SetExtent(DVASPECT_CONTENT, &extent));
    auto persist = control.As<IPersistStreamInit>();
    ComPtr<IStream> stream;
    ASSERT_HRESULT_SUCCEEDED(CreateStreamOnHGlobal(nullptr, TRUE, stream.Put()));
    ASSERT_HRESULT_SUCCEEDED(persist->Save(stream.Get(), TRUE));
    extent = {1, 1};
    object->SetExtent(DVASPECT_CONTENT, &extent);
    const LARGE_INTEGER start{};
    stream->Seek(start, STREAM_SEEK_SET, nullptr);
    ASSERT_HRESULT_SUCCEEDED(persist->Load(stream.Get()));
    ASSERT_HRESULT_SUCCEEDED(object->GetExtent(DVASPECT_CONTENT, &extent));
    EXPECT_EQ(extent.cx, 12000);
    EXPECT_EQ(extent.cy, 9000);
    EXPECT_EQ(object->SetExtent(DVASPECT_ICON, &extent), DV_E_DVASPECT);

    ComPtr<ITypeInfo> info;
    ASSERT_HRESULT_SUCCEEDED(control.As<IProvideClassInfo>()->GetClassInfo(info.Put()));
    TYPEATTR* attr = nullptr;
    ASSERT_HRESULT_SUCCEEDED(info->GetTypeAttr(&attr));
    EXPECT_EQ(attr->typekind, TKIND_COCLASS);
    EXPECT_TRUE(IsEqualGUID(attr->guid, CLSID_DTMGUI));
    info->ReleaseTypeAttr(attr);
}

TEST_F(ActivationTest, ItDrawsItselfIntoTheContainersPicture) {
    ComPtr<ControlSite> site(ControlSite::Create(frame.Handle()), false);
    ASSERT_HRESULT_SUCCEEDED(site->Attach(control.Get(), false));
    UpdateWindow(frame.Handle());
    PumpMessages();
    auto view = control.As<IViewObject2>();
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    HBITMAP bitmap = CreateCompatibleBitmap(screen, 300, 200);
    SelectObject(memory, bitmap);
    const RECTL bounds{0, 0, 300, 200};
    EXPECT_HRESULT_SUCCEEDED(view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, memory,
                                        &bounds, nullptr, nullptr, 0));
    std::set<COLORREF> colours;
    for (int y = 0; y < 200; y += 4)
        for (int x = 0; x < 300; x += 4) colours.insert(GetPixel(memory, x, y));
    EXPECT_GT(colours.size(), 5u);
    EXPECT_EQ(view->Draw(DVASPECT_ICON, -1, nullptr, nullptr, nullptr, memory, &bounds, nullptr,
                         nullptr, 0),
              DV_E_DVASPECT);
    DeleteDC(memory);
    DeleteObject(bitmap);
    ReleaseDC(nullptr, screen);
    site->Detach();
}

TEST_F(ActivationTest, AtlsHostWindowSitesItByItsClassId) {
    HMODULE atl = LoadLibraryW(L"atl.dll");
    ASSERT_TRUE(atl) << "Wine's atl.dll";
    using InitFn = BOOL(WINAPI*)();
    using GetControlFn = HRESULT(WINAPI*)(HWND, IUnknown**);
    auto init =
        reinterpret_cast<InitFn>(reinterpret_cast<void*>(GetProcAddress(atl, "AtlAxWinInit")));
    auto getControl = reinterpret_cast<GetControlFn>(
        reinterpret_cast<void*>(GetProcAddress(atl, "AtlAxGetControl")));
    ASSERT_TRUE(init && getControl && init());

    // The class is served from this program, as the library serves it once registered.
    size_t count = 0;
    const ComClass* classes = ComClasses(count);
    ComPtr<IClassFactory> factory;
    ASSERT_HRESULT_SUCCEEDED(GetClassFactory(classes[0], IID_IClassFactory, factory.PutVoid()));
    DWORD cookie = 0;
    ASSERT_HRESULT_SUCCEEDED(CoRegisterClassObject(
        CLSID_DTMGUI, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie));
    wchar_t clsid[64] = {};
    StringFromGUID2(CLSID_DTMGUI, clsid, 64);
    HWND host = CreateWindowExW(0, L"AtlAxWin", clsid, WS_CHILD | WS_VISIBLE, 0, 0, 800, 600,
                                frame.Handle(), nullptr, GetModuleHandleW(nullptr), nullptr);
    ASSERT_TRUE(host);
    PumpMessages();
    ComPtr<IUnknown> hosted;
    EXPECT_HRESULT_SUCCEEDED(getControl(host, hosted.Put()));
    ASSERT_TRUE(hosted);
    EXPECT_TRUE(hosted.As<IDtmActiveXControl>()) << "the FDT entry of the hosted control";
    HWND window = FindControlWindow(host, "DTMGUI");
    ASSERT_TRUE(window) << "activated in place inside ATL's window";
    EXPECT_TRUE(IsWindowVisible(window));
    EXPECT_TRUE(FindControlWindow(window, "StatusBar1"));
    hosted.Reset();
    DestroyWindow(host);
    PumpMessages();
    CoRevokeClassObject(cookie);
}

}  // namespace
}  // namespace kestrova::win
