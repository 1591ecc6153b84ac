#pragma once

#include <QPaintDevice>
#include <QString>
#include <functional>

#include "tavhost/ui/table/table_arrangement.h"

namespace ui {

// Draws the rows that are seen, in their order, on pages: a header, the titles, page numbers.
// Columns share the width of the page; texts that do not fit wrap. `newPage` begins a page of the
// device but the first. Returns the number of pages.
int PrintTable(const TableArrangement& seen, const QString& title, QPaintDevice& device,
               const std::function<void()>& newPage);

// Asks for a printer, then prints.
void PrintTableWithDialog(const TableArrangement& seen, const QString& title, QWidget* parent);
// False when the file cannot be written.
bool WriteTablePdf(const TableArrangement& seen, const QString& title, const QString& file);

}  // namespace ui
