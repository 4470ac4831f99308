// frmNewProfile: asks for the name of a new profile and whether it carries the file
// selections. "Create" stays disabled until a name other than the placeholder is
// typed; a profile without selections gets " [No File Selections]" after its name.
// Main thread only.
#pragma once

#include <QDialog>
#include <optional>
#include <string>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace tessaroven {

inline constexpr char kNewProfileTitle[] = "Batch Converter: Create New Profile";
inline constexpr char kNewProfilePlaceholder[] = "<type profile name>";
inline constexpr int kMaxProfileNameLength = 999;

class frmNewProfile : public QDialog {
 public:
  explicit frmNewProfile(QWidget* owner);

  // The name with its suffix once "Create" was pressed; empty before, or when cancelled.
  const std::u16string& Result() const { return result_; }

  QLineEdit* NameField() const { return name_; }
  QCheckBox* SelectionsBox() const { return withSelections_; }
  QPushButton* CreateButton() const { return create_; }

 private:
  void NameChanged(const QString& text);
  void Create();

  QLineEdit* name_;
  QCheckBox* withSelections_;
  QPushButton* create_;
  std::u16string result_;
};

// Runs the dialog; the name, or nothing when it was cancelled.
std::optional<std::u16string> RunNewProfileDialog(QWidget* owner);

}  // namespace tessaroven
