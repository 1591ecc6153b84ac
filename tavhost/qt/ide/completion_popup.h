#pragma once

#include <QStringList>
#include <functional>

class QCompleter;
class QKeyEvent;
class QStringListModel;

namespace ui::ide_view {

class ScriptEditor;

// The list of words that can go on where the cursor of an editor stands.
class CompletionPopup final {
 public:
  // What can stand where a text ends.
  using Offer = std::function<QStringList(const QString& before)>;

  // A child of the editor's widget.
  CompletionPopup(ScriptEditor& editor, Offer offer);

  // Shows what fits now, or nothing. `asked`: by its user, who gets a single word put in at once;
  // otherwise words come up unasked as one types.
  void Update(bool asked);

  // Before the editor sees a key: true when it is none for the editor.
  bool TakesKey(QKeyEvent& event);
  // After the editor has seen it.
  void KeyPressed(const QKeyEvent& event);

 private:
  void Insert(const QString& word);
  QString Typed() const;  // of the word at the cursor

  ScriptEditor& editor_;
  Offer offer_;
  QCompleter* completer_;  // the editor's child, as is its model
  QStringListModel* words_;
};

}  // namespace ui::ide_view
