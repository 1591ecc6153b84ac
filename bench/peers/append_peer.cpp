// What a Qt program would do itself: appendPlainText for each line into a shown window.
//   append_peer LINES LIMIT       LIMIT 0: all lines stay
#include <QApplication>
#include <QElapsedTimer>
#include <QPlainTextEdit>
#include <cstdlib>

int main(int count, char** arguments) {
  if (count < 3) return 2;
  QApplication application(count, arguments);
  const int lines = std::atoi(arguments[1]);
  QPlainTextEdit edit;
  edit.setReadOnly(true);
  edit.setUndoRedoEnabled(false);
  edit.setLineWrapMode(QPlainTextEdit::NoWrap);
  edit.setMaximumBlockCount(std::atoi(arguments[2]));
  edit.resize(760, 460);
  edit.show();
  QElapsedTimer sinceEvents;
  sinceEvents.start();
  for (int i = 1; i <= lines; ++i) {
    edit.appendPlainText(QStringLiteral("line %1: the quick brown fox jumps over the dog").arg(i));
    if (sinceEvents.elapsed() < 20) continue;  // as often as scripts let events through
    QApplication::processEvents();
    sinceEvents.start();
  }
  QApplication::processEvents();
  return edit.blockCount() == 0 ? 1 : 0;
}
