// Renders every dialog, light and dark, at scale 1 and 2, into one page, and three of them beside
// each other for the README:
//   tavhost_gallery FOLDER            starts itself once for each look
//   tavhost_gallery FOLDER LOOK       renders the pictures of one look
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/qt/drawing_view.h"
#include "tavhost/qt/message_window_view.h"
#include "tavhost/qt/percentage_window_view.h"
#include "tavhost/qt/qt_toolkit.h"
#include "tavhost/qt/result_tool_view.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/style.h"
#include "tavhost/qt/table_print.h"
#include "tavhost/qt/work_window_view.h"
#include "tavhost/ui/models/drawing_model.h"
#include "tavhost/ui/models/message_window_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/models/text_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/models/workbench_model.h"
#include "tavhost/ui/table/table_arrangement.h"
#include "tests/qt/dark_palette.h"
#include "tests/qt/framed.h"
#include "tests/qt/sample_windows.h"

namespace {

struct Look {
  const char* name;
  const char* scale;
  bool dark;
};
constexpr const char* kTools[] = {"result-tool", "drawing", "drawing-with-a-mistake"};
constexpr const char* kPrinted = "printed-table.pdf";
constexpr Look kLooks[] = {
    {"light", "1", false}, {"dark", "1", true}, {"light-2", "2", false}, {"dark-2", "2", true}};

void MakePictures(const QString& folder) {
  for (int i = 0; i < 8; ++i) {
    QImage image(i % 2 ? 640 : 200, i % 3 ? 300 : 480, QImage::Format_RGB32);
    image.fill(QColor::fromHsv(i * 45, 160, 220));
    QPainter painter(&image);
    painter.setPen(QPen(Qt::white, 12));
    painter.drawEllipse(image.rect().adjusted(20, 20, -20, -20));
    painter.end();
    image.save(QStringLiteral("%1/image %2.png").arg(folder).arg(i));
  }
}

QString FileName(const std::string& sample) {
  return QString::fromStdString(sample).replace(QLatin1Char(' '), QLatin1Char('-'));
}

// Tools of the workbench, as they stand in their docks.
bool RenderTools(const QString& folder, const Look& look) {
  const auto render = [&](QWidget& view, const char* name) {
    view.resize(520, 340);
    view.show();
    QApplication::processEvents();
    return view.grab().save(
        QStringLiteral("%1/%2-%3.png").arg(folder, QLatin1String(name), QLatin1String(look.name)));
  };
  ui::ResultToolModel results;
  for (int i = 0; i < ui::ResultToolModel::kButtonCount; ++i) {
    results.ShowButton(static_cast<ui::ResultToolModel::Button>(i), true);
  }
  const auto parts = sample_windows::Parts(true);
  const auto others = sample_windows::Parts(false);
  parts->header = "Parts";
  results.Add(*parts);
  results.Add(*others);
  results.GoTo(0);
  ui::ResultToolView tool(results);
  ui::DrawingModel drawing;
  drawing.Show(sample_windows::Pump());
  ui::DrawingView picture(drawing);
  ui::DrawingModel wrong;
  wrong.ShowError("2:1: there is no drawing element CIRCLE");
  ui::DrawingView mistake(wrong);
  // On paper all looks are the same.
  if (!ui::WriteTablePdf(ui::TableArrangement(*parts), QStringLiteral("Parts"),
                         folder + QLatin1Char('/') + QLatin1String(kPrinted))) {
    return false;
  }
  return render(tool, kTools[0]) && render(picture, kTools[1]) && render(mistake, kTools[2]);
}

void Save(QWidget& widget, const QString& folder, const char* name, const Look& look) {
  const QString file =
      QStringLiteral("%1/%2-%3.png").arg(folder, QLatin1String(name), QLatin1String(look.name));
  if (!widget.grab().save(file)) std::abort();
}

// Windows that stay while a script goes on.
constexpr const char* kModeless[] = {"progress", "two-bars", "message-window", "tools"};

void RenderModeless(const QString& folder, const Look& look) {
  ui::PercentageWindowModel one("Sorting", false, false);
  one.SetPercentage(60);
  one.message = "step 6 of 10";
  Save(*std::make_unique<ui::PercentageWindowView>(one, nullptr), folder, kModeless[0], look);
  ui::PercentageWindowModel two("Copying", true, true);
  two.SetPercentage(37.5);
  two.message = "Folder 3 of 8: /home/ada/projects/release/documents/which has a long name/indeed";
  two.SetPercentage2(75);
  two.message2 = "report.txt";
  Save(*std::make_unique<ui::PercentageWindowView>(two, nullptr), folder, kModeless[1], look);
  const ui::MessageWindowModel message("Reading the parts of 12 catalogues,\nthis takes a minute.");
  Save(*std::make_unique<ui::MessageWindowView>(message, nullptr), folder, kModeless[2], look);

  ui::WorkWindowModel work;
  ui::TextModel log;
  ui::TextModel problems;
  std::string text;
  for (int i = 1; i <= 60; ++i) text += "Line " + std::to_string(i) + ": the quick brown fox\n";
  log.Replace(text);
  log.Select(static_cast<long>(text.size()) - 1, static_cast<long>(text.size()) - 1);
  problems.Replace("parts.tav:12: a part without a weight\n");
  ui::WorkbenchModel& tools = work.workbench;
  const auto add = [&tools](const char* id, ui::TextModel& content, long index) {
    ui::Tool& tool = tools.Add(id, &content, 0);
    tools.SetLocation(tool, {ui::ToolSide::kBottom, index, 0});
    tools.SetVisible(tool, true);
    return &tool;
  };
  tools.SetSubtitle(*add("Log", log, 0), "second run");
  add("Problems", problems, 1);
  ui::WorkWindowView window(work);
  window.show();
  QApplication::processEvents();
  Save(window, folder, kModeless[3], look);
}

// The window as a script's user gets it.
QPixmap PictureOf(ui::QtToolkit& toolkit, ui::ModalModel& model) {
  QPixmap picture;
  model.Begin();
  QTimer::singleShot(50, [&picture] {
    auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (!dialog) std::abort();
    picture = dialog->grab();
    dialog->reject();
  });
  toolkit.RunModal(model);
  return picture;
}

// Three windows beside each other.
bool RenderThree(ui::QtToolkit& toolkit, const QString& file) {
  constexpr int kGap = 16;
  std::vector<QImage> windows;
  QSize size(-kGap, 0);
  for (const sample_windows::Sample& sample : sample_windows::Three()) {
    windows.push_back(Framed(PictureOf(toolkit, *sample.model), ui::Shown(sample.model->Title())));
    size.rwidth() += kGap + windows.back().width();
    size.setHeight(std::max(size.height(), windows.back().height()));
  }
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  int x = 0;
  for (const QImage& window : windows) {
    painter.drawImage(x, 0, window);
    x += window.width() + kGap;
  }
  painter.end();
  return image.save(file);
}

int RenderLook(const QString& folder, const Look& look) {
  const ui::ModuleHost host{&event_loop::RunPostedWork,     &event_loop::HasPostedWork,
                            &event_loop::ClearWakeUp,       &stop::IsRequested,
                            event_loop::WakeUpDescriptor(), &report::Line};
  ui::QtToolkit toolkit(host, {});
  QApplication::setStyle(ui::MakeStyle(QStringLiteral("fusion")));
  if (look.dark) QApplication::setPalette(DarkPalette());
  QTemporaryDir pictures;
  MakePictures(pictures.path());
  const std::string path = pictures.path().toStdString();
  for (sample_windows::Sample& sample : sample_windows::All(path, path)) {
    const QString file =
        QStringLiteral("%1/%2-%3.png").arg(folder, FileName(sample.name), QLatin1String(look.name));
    if (!PictureOf(toolkit, *sample.model).save(file)) std::abort();
  }
  if (&look == &kLooks[0] && !RenderThree(toolkit, folder + QStringLiteral("/dialogs.png"))) {
    return 1;
  }
  RenderModeless(folder, look);
  return RenderTools(folder, look) ? 0 : 1;
}

int RenderAll(const QString& program, const QString& folder) {
  if (!QDir().mkpath(folder)) return 1;
  for (const Look& look : kLooks) {
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QLatin1String(look.scale));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, {folder, QLatin1String(look.name)});
    if (!process.waitForFinished(120000) || process.exitCode() != 0) return 1;
  }
  QFile page(folder + QStringLiteral("/index.html"));
  if (!page.open(QIODevice::WriteOnly)) return 1;
  QTextStream html(&page);
  html << "<!doctype html><meta charset=\"utf-8\"><title>Dialogs</title>\n"
          "<style>body{font-family:sans-serif;background:#888}img{margin:8px;max-width:45%}"
          "</style>\n";
  std::vector<QString> names;
  for (const sample_windows::Sample& sample : sample_windows::All("", "")) {
    names.push_back(FileName(sample.name));
  }
  for (const char* tool : kTools) names.push_back(QLatin1String(tool));
  for (const QString& name : names) {
    html << "<h2>" << name << "</h2>\n";
    for (const Look& look : kLooks) {
      html << "<img src=\"" << name << '-' << look.name << ".png\">\n";
    }
  }
  for (const char* const name : kModeless) {
    html << "<h2>" << name << "</h2>\n";
    for (const Look& look : kLooks) {
      html << "<img src=\"" << name << '-' << look.name << ".png\">\n";
    }
  }
  html << "<h2><a href=\"" << kPrinted << "\">A table on paper</a></h2>\n";
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: tavhost_gallery FOLDER\n");
    return 2;
  }
  const QString folder = QString::fromLocal8Bit(arguments[1]);
  if (count == 2) return RenderAll(QString::fromLocal8Bit(arguments[0]), folder);
  for (const Look& look : kLooks) {
    if (QLatin1String(look.name) == QLatin1String(arguments[2])) return RenderLook(folder, look);
  }
  return 2;
}
