#include "platform/dialog/dialog.h"

#include "platform/dialog/session_posix.h"
#include "platform/path.h"

#include <FL/Fl.H>
#include <FL/Fl_Box.H>
#include <FL/Fl_Choice.H>
#include <FL/Fl_File_Browser.H>
#include <FL/Fl_Input.H>
#include <FL/filename.H>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

enum { WIDTH = 600, HEIGHT = 440, GAP = 8, ROW = 26, LABEL_WIDTH = 96, BUTTON_WIDTH = 96 };

namespace {

struct FileWindow {
    std::unique_ptr<Fl_Double_Window> window;
    Fl_Input* look = nullptr; // the directory in view
    Fl_File_Browser* list = nullptr;
    Fl_Input* name = nullptr;
    Fl_Choice* filter = nullptr;
    Fl_Box* complaint = nullptr;
    std::vector<Fl_Menu_Item> menu;    // one a filter, and an empty one at the end
    std::vector<std::string> patterns; // of the filters, as the browser reads them
    std::string directory;             // with a '/' at its end
    std::string chosen;
};

} // namespace

// "*.a;*.b" becomes "{*.a|*.b}"; "*.*" means every file, with a dot or without.
static std::string browserPattern(std::string_view patterns) {
    std::string pattern = "{";
    while (!patterns.empty()) {
        const size_t end = std::min(patterns.find(';'), patterns.size());
        const std::string_view one = patterns.substr(0, end);
        if (pattern.size() > 1) pattern += '|';
        pattern += one == "*.*" ? "*" : one;
        patterns.remove_prefix(std::min(end + 1, patterns.size()));
    }
    return pattern + "}";
}

static bool isDirectory(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

// --- directory and choice -------------------------------------------------------------------------------

static void listDirectory(FileWindow& dialog) {
    dialog.list->filter(dialog.patterns[static_cast<size_t>(dialog.filter->value())].c_str());
    dialog.list->load(dialog.directory.c_str(), fl_casenumericsort);
    for (int line = dialog.list->size(); line > 0; --line) {
        const std::string_view text = dialog.list->text(line);
        if (text.starts_with('.') && text != "../") dialog.list->remove(line);
    }
    dialog.look->value(dialog.directory.c_str());
}

static void enterDirectory(FileWindow& dialog, const std::string& path) {
    dialog.directory = std::filesystem::path(path).lexically_normal().string();
    if (!dialog.directory.ends_with('/')) dialog.directory += '/';
    dialog.name->value("");
    listDirectory(dialog);
}

static void complain(FileWindow& dialog, const std::string& text) {
    dialog.complaint->copy_label(text.c_str());
    dialog.window->redraw();
}

// Takes what the name line says: a directory is entered, a file is the answer.
static void accept(FileWindow& dialog) {
    complain(dialog, "");
    const std::string name = dialog.name->value();
    if (name.empty()) return;
    const bool absolute = name.front() == '/' || name.front() == '\\';
    std::string found;
    if (!qbPathResolve((absolute ? name : dialog.directory + name).c_str(), found)) {
        complain(dialog, "There is no file of this name. Check the name and try again.");
        return;
    }
    if (isDirectory(found)) {
        enterDirectory(dialog, found);
        return;
    }
    dialog.chosen = found;
    dialog.window->hide();
}

// --- callbacks ------------------------------------------------------------------------------------------

static void pickLine(Fl_Widget*, void* data) {
    auto& dialog = *static_cast<FileWindow*>(data);
    const int line = dialog.list->value();
    if (line < 1) return;
    dialog.name->value(dialog.list->text(line));
    const bool entered = Fl::event_key() == FL_Enter || Fl::event_key() == FL_KP_Enter;
    if (entered || Fl::event_clicks() > 0) {
        Fl::event_clicks(0); // a third click belongs to the directory that this one opens
        accept(dialog);
    }
}

static void pressOpen(Fl_Widget*, void* data) {
    accept(*static_cast<FileWindow*>(data));
}

static void pressCancel(Fl_Widget* widget, void*) {
    widget->window()->hide();
}

static void pressUp(Fl_Widget*, void* data) {
    auto& dialog = *static_cast<FileWindow*>(data);
    enterDirectory(dialog, dialog.directory + "..");
}

static void pickFilter(Fl_Widget*, void* data) {
    listDirectory(*static_cast<FileWindow*>(data));
}

// --- controls -------------------------------------------------------------------------------------------

// The items point at the caller's labels: added as text they would be split at '/'.
static void addFilters(FileWindow& dialog, const QbFileFilter* filters, int count) {
    for (int i = 0; i < count; ++i) {
        dialog.patterns.push_back(browserPattern(filters[i].patterns));
        dialog.menu.push_back({filters[i].label, 0, nullptr, nullptr, 0, FL_NORMAL_LABEL, FL_HELVETICA,
                               FL_NORMAL_SIZE, FL_FOREGROUND_COLOR});
    }
    if (count < 1) dialog.patterns.emplace_back("*");
    dialog.menu.push_back({});
    dialog.filter->menu(dialog.menu.data());
    dialog.filter->value(0);
}

static void createWindow(FileWindow& dialog, const char* title) {
    const int width = qbDialogPixels(WIDTH);
    const int height = qbDialogPixels(HEIGHT);
    const int gap = qbDialogPixels(GAP);
    const int row = qbDialogPixels(ROW);
    const int buttonWidth = qbDialogPixels(BUTTON_WIDTH);
    const int fieldX = qbDialogPixels(LABEL_WIDTH) + gap;
    const int fieldWidth = width - fieldX - buttonWidth - 2 * gap;
    const int buttonX = width - buttonWidth - gap;
    const int filterY = height - 2 * gap - 2 * row;
    const int nameY = filterY - gap - row;
    const int listY = 2 * gap + row;

    dialog.window = std::make_unique<Fl_Double_Window>(width, height, title);
    dialog.look = new Fl_Input(fieldX, gap, fieldWidth, row, "Look in:");
    dialog.look->readonly(1);
    dialog.look->color(FL_BACKGROUND_COLOR);
    dialog.look->clear_visible_focus();
    auto* up = new Fl_Button(buttonX, gap, buttonWidth, row, "Up");
    up->callback(pressUp, &dialog);
    dialog.list = new Fl_File_Browser(gap, listY, width - 2 * gap, nameY - gap - listY);
    dialog.list->type(FL_HOLD_BROWSER);
    dialog.list->textsize(FL_NORMAL_SIZE);
    dialog.list->callback(pickLine, &dialog);
    dialog.list->when(FL_WHEN_RELEASE | FL_WHEN_ENTER_KEY);
    dialog.name = new Fl_Input(fieldX, nameY, fieldWidth, row, "File name:");
    auto* open = new QbDefaultButton(buttonX, nameY, buttonWidth, row, "Open");
    open->callback(pressOpen, &dialog);
    dialog.filter = new Fl_Choice(fieldX, filterY, fieldWidth, row, "Files of type:");
    dialog.filter->callback(pickFilter, &dialog);
    auto* cancel = new Fl_Button(buttonX, filterY, buttonWidth, row, "Cancel");
    cancel->callback(pressCancel);
    dialog.complaint = new Fl_Box(fieldX, height - gap - row, fieldWidth, row);
    dialog.complaint->align(FL_ALIGN_LEFT | FL_ALIGN_INSIDE);
    dialog.complaint->labelcolor(FL_DARK_RED);
    dialog.window->resizable(dialog.list);
    dialog.window->size_range(width, height);
    dialog.name->take_focus();
    dialog.window->end();
}

// The current directory is only read, never entered: it stands as it was whatever happens here.
const char* qbOpenFileDialog(const char* title, const QbFileFilter* filters, int filterCount) {
    static std::string path;
    const QbDialogSession session("The file dialog");
    if (!session.open()) return nullptr;
    FileWindow dialog;
    createWindow(dialog, title);
    addFilters(dialog, filters, filterCount);
    const std::string current = qbCurrentDirectory();
    enterDirectory(dialog, current.empty() ? "/" : current);
    if (!qbDialogRun(dialog.window) || dialog.chosen.empty()) return nullptr;
    path = dialog.chosen;
    return path.c_str();
}
