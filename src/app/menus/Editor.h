#pragma once

#include <filesystem>
#include <vector>

namespace velloria
{

class MenuHost;

/// What a document's window and its menus ask of the program around them; Application implements it.
class Editor
{
public:
    virtual ~Editor() = default;

    virtual void newDocument() = 0;
    /// Each in a window of its own; a file that is open already comes to the front.
    virtual void openFiles(const std::vector<std::filesystem::path>& paths) = 0;
    virtual void showPreferences() = 0;
    /// Asks for every unsaved document; false when the person decided against quitting.
    virtual bool quit() = 0;
    /// In the order of their opening.
    virtual std::vector<MenuHost*> documentWindows() const = 0;
};

} // namespace velloria
