#pragma once

#include <memory>

#include "host/base/forward.h"
#include "host/export.h"

namespace ui {
class TableModel;
}

// How the texts of a column stand.
enum TavBrowserAlignment {
  TavBrowserAlignLeft = 0,
  TavBrowserAlignCentre = 1,
  TavBrowserAlignRight = 2,
};

// The rows and columns of a table and how they look. The handle column, if the table has one, is
// number 0; the others are numbered from 1 in any case.
class TAV_HOST_API TavBrowserObjects {
 public:
  TavBrowserObjects(const TavBrowserObjects&) = delete;
  TavBrowserObjects& operator=(const TavBrowserObjects&) = delete;
  virtual ~TavBrowserObjects();

  void Init(int mode);           // before anything else; 0 is the only mode
  void SetShowLinks(bool show);  // whether references to models and objects look like links
  void SetSubtitle(const SV::String& text);
  // Patterns in which %n, %t and %v stand for the name, type and version of what a field names.
  void SetModelRefFormat(const SV::String& pattern);
  void SetObjectRefFormat(const SV::String& pattern);
  void SetHeader(const SV::String& text);       // above the table
  void SetPrintHeader(const SV::String& text);  // on top of printed pages
  // The first row holds the titles. Fields may be quoted. False, and nothing read, for a quoted
  // field that is not closed, text behind a closing quote, or a row with more fields than the
  // first.
  bool ReadFromText(const SV::String& content, char fieldSeparator, char rowSeparator);
  unsigned long GetColumnCount() const;  // the handle column included
  bool HasHandleColumn() const;
  // Pixels; 0 hides the column, less than 0 makes it as wide as its texts need.
  void setColumnWidth(unsigned long column, long width, bool, bool);
  void setColumnAlignment(unsigned long column, TavBrowserAlignment alignment, bool);

  ui::TableModel& Table() { return *table_; }

 protected:
  explicit TavBrowserObjects(bool withHandleColumn);

 private:
  std::unique_ptr<ui::TableModel> table_;
};
