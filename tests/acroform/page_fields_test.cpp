#include <gtest/gtest.h>

#include <string>

#include "tests/support/cpu_time.h"
#include "tests/support/form_text.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/acroform/field_tree.h"

namespace zforms {
namespace {

// Opens the form; with `find`, also its fields that are only on its pages.
ZAcroForm Opened(const FormText& text, bool find = true) {
  ZAcroForm form;
  form.SetPageFields(find);
  ZInetChaineIStream in(text.Bytes());
  EXPECT_TRUE(form.Load(in, ""));
  return form;
}

// The form with one page that has these annotations.
ZAcroForm Loaded(FormText text, const std::string& annotations, bool find = true) {
  text.Catalog("/Pages 3 0 R").Object(3, "<</Type/Pages/Kids[4 0 R 3 0 R]/Count 1>>");
  return Opened(text.Object(4, "<</Type/Page/Parent 3 0 R/Annots[" + annotations + "]>>"), find);
}

// The full names in the order of the tree, kids in brackets.
std::string NamesIn(const ZAcroFormFieldCollection& fields) {
  std::string names;
  for (uint32_t i = 0; i < fields.Size(); i++) {
    const ZAcroFormField& field = *fields.GetAt(i);
    names += (i == 0 ? "" : " ") + field.FullName().ToString();
    if (field.Size() > 0) names += "[" + NamesIn(field) + "]";
  }
  return names;
}

TEST(PageFields, ComeAfterThoseOfTheForm) {
  const std::string radio = "<</Subtype/Widget/FT/Btn/Ff 32768/T(r)/AP<</N<</";
  const struct {
    const char* label;
    FormText form;
    const char *annotations, *without, *with;
    size_t found;
  } cases[] = {
      {"radio buttons of one name, the first of which is listed",
       FormText().Field(10, radio + "A 9 0 R>>>>>>").Object(20, radio + "B 9 0 R>>>>>>"), "10 0 R 20 0 R 20 0 R", "r",
       "r r", 1},
      {"a parent that is listed nowhere, with kids on the page and off it",
       FormText()
           .Field(10, "<</FT/Tx/T(a)>>")
           .Object(20, "<</Subtype/Widget/Parent 22 0 R/T(x)>>")
           .Object(21, "<</Subtype/Widget/Parent 22 0 R/T(y)>>")
           .Object(22, "<</FT/Tx/T(g)/Kids[21 0 R 20 0 R]>>"),
       "20 0 R", "a", "a g[g.y g.x]", 1},
      {"a widget that its parent does not list, and one below that",
       FormText()
           .Field(10, "<</T(a)/Kids[<</T(b)/FT/Tx>>]>>")
           .Object(20, "<</Subtype/Widget/Parent 10 0 R/FT/Tx/T(c)>>")
           .Object(21, "<</Subtype/Widget/Parent 20 0 R>>"),
       "21 0 R 20 0 R", "a[a.b]", "a[a.b a.c[a.c]]", 1},
      {"an annotation without an object of its own", FormText(), "<</Subtype/Widget/FT/Tx/T(d)>>", "", "d", 1},
      {"the page for a parent", FormText().Object(20, "<</Subtype/Widget/FT/Tx/T(p)/Parent 4 0 R>>"), "20 0 R", "", "p",
       1},
      {"no field: a link, a widget that says nothing, a null",
       FormText().Object(20, "<</Subtype/Link/FT/Tx/T(l)>>").Object(21, "<</Subtype/Widget/T(n)/Parent 4 0 R>>"),
       "20 0 R 21 0 R 99 0 R null", "", "", 0},
      {"parents in a circle",
       FormText()
           .Object(20, "<</Subtype/Widget/FT/Tx/T(x)/Parent 21 0 R>>")
           .Object(21, "<</T(y)/Parent 20 0 R/Kids[20 0 R]>>"),
       "20 0 R 20 0 R", "", "", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(NamesIn(Loaded(c.form, c.annotations, false).Fields()), c.without) << c.label;
    const ZAcroForm form = Loaded(c.form, c.annotations);
    EXPECT_EQ(NamesIn(form.Fields()), c.with) << c.label;
    EXPECT_EQ(form.PageFields().size(), c.found) << c.label;
    const ZAcroForm copy = form;
    EXPECT_EQ(NamesIn(copy.Fields()), c.with) << c.label << ", a copy";
    EXPECT_EQ(WarningsOf(form), "") << c.label;
  }
}

TEST(PageFields, ANameStaysWithTheFieldOfTheForm) {
  ZAcroForm form =
      Loaded(FormText().Field(10, "<</FT/Tx/T(a)>>").Object(20, "<</Subtype/Widget/FT/Tx/T(a)>>"), "20 0 R");
  EXPECT_EQ(form.Fields()["a"], form.Fields()[0]);
  EXPECT_EQ(form.FlatFields()["a"].size(), 2U);
}

// "/Parent" of each widget is the widget before it, whose "/Kids" does not list it.
TEST(PageFields, LongChainsStayShort) {
  FormText text;
  std::string annotations;
  for (uint32_t i = 10; i < 1010; i++) {
    text.Object(i, "<</Subtype/Widget/FT/Tx/T(f)/Parent " + std::to_string(i - 1) + " 0 R>>");
    annotations += std::to_string(i) + " 0 R ";
  }
  EXPECT_EQ(Loaded(text, annotations).FlatFields().Size(), FieldTreeBuilder::kMaxDepth);
}

TEST(PageFields, AListThatPagesShareIsReadOnce) {
  const auto seconds = [](int count) {
    std::string links, pages;
    for (int i = 0; i < count; i++) links += "<</Subtype/Link>>";
    for (int i = 0; i < count; i++) pages += "<</Type/Page/Annots 20 0 R>>";
    FormText text;
    text.Object(20, "[" + links + "]").Object(21, "<</Type/Pages/Kids[" + pages + "]>>").Catalog("/Pages 21 0 R");
    const CpuTime time;
    EXPECT_EQ(Opened(text).Fields().Size(), 0U);
    return time.Seconds();
  };
  EXPECT_LT(seconds(8000), 20 * seconds(800) + 0.5);
}

}  // namespace
}  // namespace zforms
