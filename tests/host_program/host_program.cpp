// Exits with the number of the check that failed, 0 when all pass. The argument is a form.

#include <memory>

#include "zforms/pdf/array_node.h"
#include "zforms/pdf/dictionary_node.h"
#include "zforms/pdf/indirect_object.h"
#include "zforms/pdf/numeric_node.h"
#include "zforms/pdf/parser/parser.h"
#include "zforms/pdf/reference_node.h"
#include "zforms/pdf/syntax/out_stream.h"

using namespace zforms;

namespace {

// A node whose GetReferencedObjects also adds the object given to its constructor, and counts the calls.
template <class Base>
class Leading : public Base {
 public:
  explicit Leading(ZPDFNodeIndirectObject* object) : object_(object) {}
  Leading* Clone() const override { return new Leading(*this); }
  void SendTo(ZPDFOutStream&, const ZPDFEncrypter*) const override {}
  void GetReferencedObjects(ZPDFObjectMap& map) const override {
    asked++;
    Base::GetReferencedObjects(map);
    const std::unique_ptr<ZPDFNodeIndirectReference> reference(object_->AllocReference());
    reference->GetReferencedObjects(map);
  }

  static inline int asked = 0;

 private:
  ZPDFNodeIndirectObject* object_;
};

class Fixed final : public ZPDFNodeNumeric {
 public:
  void SetText(const Chaine& text) { SetValue(text); }
};

// The objects refer to each other in cycles, through nodes of each kind: 0 to 1, 1 to 2 and 3, 2 and 3 to 0.
bool OverridesAreCalled(ZPDFParser& parser) {
  ZPDFNodeIndirectObject* objects[4];
  for (auto& object : objects) object = parser.AddIndirectObject();
  auto* const array = new ZPDFNodeArray;
  array->AppendValue(new Leading<ZPDFNode>(objects[2]));
  array->AppendValue(new Leading<ZPDFNodeNumeric>(objects[3]));
  auto* const dictionary = new ZPDFNodeDictionary;
  dictionary->SetValue("/Array", array);
  objects[0]->SetChild(objects[1]->AllocReference());
  objects[1]->SetChild(dictionary);
  objects[2]->SetChild(new Leading<ZPDFNodeLeaf>(objects[0]));
  objects[3]->SetChild(objects[0]->AllocReference());
  const std::unique_ptr<ZPDFNodeIndirectReference> first(objects[0]->AllocReference());
  ZPDFObjectMap map;
  first->GetReferencedObjects(map);
  bool equal = map.size() == 4 && first->ReferencedObjects().size() == 4;
  for (const auto* object : objects) equal = equal && map[object->GetID()] == object;
  equal = equal && Leading<ZPDFNode>::asked == 2 && Leading<ZPDFNodeNumeric>::asked == 2;
  return equal && Leading<ZPDFNodeLeaf>::asked == 2 && objects[1]->ReferencedObjects().size() == 4;
}

}  // namespace

int main(int argc, char** argv) {
  ZPDFParser parser;
  if (argc < 2 || !parser.Read(argv[1], "")) return 1;
  const ZPDFObjectLocation* const location = parser.ObjectLocations().Find(1);
  if (location == nullptr || location->id.Number() != 1 || !location->in_use) return 2;
  Fixed number;
  number.SetModified(false, true);
  number.SetText("1.50");
  if (number.Text() != "1.50" || number.GetDoubleValue() != 1.5 || !number.IsModified()) return 3;
  return OverridesAreCalled(parser) ? 0 : 4;
}
