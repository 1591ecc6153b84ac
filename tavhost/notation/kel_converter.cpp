#include "host/notation/kel_converter.h"

#include "tavhost/base/trace.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/xml_writer.h"

TavKelConverter::TavKelConverter(const SV::String& kelText) : TavKelParser(kelText) {
  trace::Call call("TavKelConverter::TavKelConverter", kelText);
  call.Created("TavKelConverter", this);
}

TavKelConverter::~TavKelConverter() {
  trace::Call call(this, "~TavKelConverter");
  call.Write();
  trace::Forget(this);
}

SV::String TavKelConverter::ToXML(bool withHeader, const SV::String& rootTag) {
  trace::Call call(this, "ToXML", withHeader, rootTag);
  if (!document_) return call.Result(SV::String());
  return call.Result(kel::XmlWriter(*document_).Write(withHeader, rootTag.View()));
}
