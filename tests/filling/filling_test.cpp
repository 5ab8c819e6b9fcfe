#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "tests/support/form_text.h"
#include "zforms/acroform/acro_form.h"
#include "zforms/filling/checked_filler.h"
#include "zforms/xfdf/xfdf.h"

namespace zforms {
namespace {

PTableau<Chaine> Split(const std::string& text, char separator) {
  PTableau<Chaine> parts;
  for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
    end = text.find(separator, at);
    parts.emplace_back(text.substr(at, end - at));
  }
  return parts;
}

const std::string kUTF16 = "<</FT/Ch/Ff 131072/T(a)/Opt[[<FEFF0057>(W)](M)]";
const std::string kSame = "/Opt[[(1)(Town)][(2)(Town)][(3)(3rd)][(4)(1)]]";
const std::string kList = "<</FT/Ch/Ff 2097152/T(a)/Opt[[(x)(Ex)](y)(z)]";
const std::string kTwo = "/AP<</N<</A 9 0 R/B 9 0 R/Off 9 0 R>>>>/Rect[]";
const std::string kOne = "/AP<</N<</A 9 0 R/Off 9 0 R>>>>/Rect[]";
const std::string kInWidget = "<</FT/Btn/T(a)/Kids[<</V/A/AS/A";
const std::string kOthers = "<</FT/Ch/T(a)/Opt[(A)(B)]/Kids[<</Opt[(B)(C)]/V(C)/Rect[]>>]";
const std::string kRadio = "<</FT/Btn/Ff 32768/T(a)/Kids[";

// The changes in object 10 and the message when field "a" is filled; values are separated by "|".
TEST(CheckedFiller, WhatFieldsTake) {
  const struct {
    const char* name;
    std::string field;
    const char* values;
    std::string after;  // empty when nothing is written
    const char* fault;  // the start of the message
  } cases[] = {
      {"too long", "<</FT/Tx/T(a)/MaxLen 3/V(old)>>", "1234", "",
       "\"1234\" has 4 characters; the field takes at most 3"},
      {"characters, not bytes", "<</FT/Tx/T(a)/MaxLen 2>>", "\xC3\xA9\r\n", "<</FT/Tx/T(a)/MaxLen 2/V(\xE9\\r\\n)>>",
       ""},
      {"what is too long already", "<</FT/Tx/T(a)/MaxLen 2/V(old)>>", "old", "", ""},
      {"line ends of another kind", "<</FT/Tx/T(a)/V(1\\n2\\r3)>>", "1\r\n2\r\n3", "", ""},
      {"another text with line ends", "<</FT/Tx/T(a)/V(1\\n2)>>", "1\r\n3", "<</FT/Tx/T(a)/V(1\\r\\n3)>>", ""},
      {"a list for a text", "<</FT/Tx/T(a)/V(old)>>", "1|2", "", "the field takes one value, not a list"},
      {"a signature", "<</FT/Sig/T(a)>>", "x", "", "the field is a signature"},
      {"a text in the widget, as it is", "<</FT/Tx/T(a)/Kids[<</V(x)/Rect[]>>]>>", "x", "", ""},
      {"what XML has no place for, as it is", "<</FT/Tx/T(a)/V(1\\0012)/MaxLen 2>>",
       "1\xEF\xBF\xBD"
       "2",
       "", ""},
      {"nothing for a signature", "<</FT/Sig/T(a)>>", "", "", ""},
      {"a group", "<</T(a)/Kids[<</FT/Tx/T(b)>>]>>", "x", "", "the name is that of a group of fields"},

      {"no choice", kUTF16 + "/V(M)>>", "Z", "", "\"Z\" is not a choice of the field; its choices are \"W\", \"M\""},
      {"a choice in the bytes of its option", kUTF16 + ">>", "W", kUTF16 + "/V" + std::string("(\xFE\xFF\0W)>>", 8),
       ""},
      {"no choice, as it is already", kUTF16 + "/V(Z)>>", "Z", "", ""},
      {"what is shown", "<</FT/Ch/T(a)" + kSame + ">>", "3rd", "<</FT/Ch/T(a)" + kSame + "/V(3)>>", ""},
      {"an export value before what is shown", "<</FT/Ch/T(a)" + kSame + ">>", "1", "<</FT/Ch/T(a)" + kSame + "/V(1)>>",
       ""},
      {"what is shown for two", "<</FT/Ch/T(a)" + kSame + ">>", "Town", "",
       "\"Town\" is the text of several choices of the field: give the export value of one; "
       "its choices are \"1\" (Town), "},
      {"a choice of two lines", "<</FT/Ch/T(a)/Opt[(1\\n2)]/V(1\\r2)>>", "1\r\n2", "", ""},
      {"a choice of two lines, in its bytes", "<</FT/Ch/T(a)/Opt[(1\\n2)]>>", "1\r\n2",
       "<</FT/Ch/T(a)/Opt[(1\\n2)]/V(1\\n2)>>", ""},
      {"typed in", "<</FT/Ch/Ff 393216/T(a)/Opt[(x)]>>", "Z", "<</FT/Ch/Ff 393216/T(a)/Opt[(x)]/V(Z)>>", ""},
      {"nothing chosen", "<</FT/Ch/T(a)/Opt[(x)]/V(x)/I[0]>>", "", "<</FT/Ch/T(a)/Opt[(x)]/V()>>", ""},
      {"a choice that a widget has not, as it is", kOthers + "/V(A)>>", "A", "", ""},
      {"a choice that a widget has not", kOthers + ">>", "A", "",
       "\"A\" is not a choice in every widget of the field: one offers only \"B\", \"C\""},
      {"a choice that all widgets have", kOthers + "/V(A)>>", "B",
       "<</FT/Ch/T(a)/Opt[(A)(B)]/Kids[<</Opt[(B)(C)]/V(B)/Rect[]>>]/V(B)>>", ""},
      {"choices of a widget alone", "<</FT/Ch/T(a)/Kids[<</Opt[(B)]/Rect[]>>]>>", "A", "",
       "\"A\" is not a choice of the field; its choices are \"B\""},
      {"a list for one choice", "<</FT/Ch/T(a)/Opt[(x)(y)]>>", "x|y", "", "the field takes one value, not a list"},
      {"the good ones of several", kList + "/I[1]>>", "Ex|Q|z|x", kList + "/V[(x)(z)]>>",
       "\"Q\" is not a choice of the field"},
      {"lines", kList + ">>", "z\r\n\nx\n", kList + "/V[(z)(x)]>>", ""},
      {"no good one", kList + "/V(x)>>", "P|Q", "", "\"P\" is not a choice of the field"},

      {"a word", "<</FT/Btn/T(a)" + kOne + ">>", "VRAI", "<</FT/Btn/T(a)" + kOne + "/V/A/AS/A>>", ""},
      {"a word for off", "<</FT/Btn/T(a)/V/A/AS/A" + kOne + ">>", "Non", "<</FT/Btn/T(a)/V/Off/AS/Off" + kOne + ">>",
       ""},
      {"a word that is a state", "<</FT/Btn/T(a)/AP<</N<</no 9 0 R>>>>/Rect[]>>", "no",
       "<</FT/Btn/T(a)/AP<</N<</no 9 0 R>>>>/Rect[]/V/no/AS/no>>", ""},
      {"a word that is exported", "<</FT/Btn/T(a)/Opt[(0)]" + kOne + ">>", "0",
       "<</FT/Btn/T(a)/Opt[(0)]" + kOne + "/V/A/AS/A>>", ""},
      {"a word where there are two states", "<</FT/Btn/T(a)" + kTwo + ">>", "yes", "",
       "\"yes\" is not a state of the button; its states are \"A\", \"B\" or \"Off\""},
      {"no state", "<</FT/Btn/T(a)/V/A/AS/A" + kOne + ">>", "C", "", "\"C\" is not a state of the button"},
      {"a state without an appearance, as it is", "<</FT/Btn/T(a)/V/C/AS/C" + kOne + ">>", "C", "", ""},
      {"a word without an appearance, as it is", "<</FT/Btn/T(a)/V/Yes" + kOne + ">>", "Yes", "", ""},
      {"the same word in other letters", "<</FT/Btn/T(a)/V/Yes" + kOne + ">>", "yes",
       "<</FT/Btn/T(a)/V/A" + kOne + "/AS/A>>", ""},
      {"a value that is not shown, as it is", "<</FT/Btn/T(a)/V/A/AS/Off" + kOne + ">>", "A", "", ""},
      {"a state without a value, as it is", "<</FT/Btn/T(a)/AS/A" + kOne + ">>", "A", "", ""},
      {"a state without a value, switched off", "<</FT/Btn/T(a)/AS/A" + kOne + ">>", "",
       "<</FT/Btn/T(a)/AS/Off" + kOne + ">>", ""},
      {"a state in the widget, as it is", kInWidget + kOne + ">>]>>", "A", "", ""},
      {"a state in the widget, switched off", kInWidget + kOne + ">>]>>", "Off",
       "<</FT/Btn/T(a)/Kids[<</V/Off/AS/Off" + kOne + ">>]/V/Off>>", ""},
      {"a word for what it shows by that name", "<</FT/Btn/T(a)/V/Yes/AS/Yes" + kOne + ">>", "Yes", "", ""},
      {"as it is, and nothing chosen", "<</FT/Btn/T(a)/AS/C" + kOne + ">>", "", "", ""},
      {"off, as it is", "<</FT/Btn/T(a)/V()/AS/Off" + kOne + ">>", "Off", "", ""},
      {"nothing chosen, as it is", "<</FT/Btn/T(a)/V()/AS/Off" + kOne + ">>", "", "", ""},
      {"an appearance for off alone", "<</FT/Btn/T(a)/V/C/AS/C/AP<</N<</Off 9 0 R>>>>/Rect[]>>", "C", "", ""},

      {"no appearance, as it is", "<</FT/Btn/T(a)/V/C/AS/C/Rect[]>>", "C", "", ""},
      {"no appearance, a word", "<</FT/Btn/T(a)/AS/Off/Rect[]>>", "x", "<</FT/Btn/T(a)/AS/Yes/Rect[]/V/Yes>>", ""},
      {"no appearance, a word for its state", "<</FT/Btn/T(a)/AS/Off/DV/C/Rect[]>>", "1",
       "<</FT/Btn/T(a)/AS/C/DV/C/Rect[]/V/C>>", ""},
      {"no appearance, a name", "<</FT/Btn/T(a)/AS/Off/Rect[]>>", "C", "<</FT/Btn/T(a)/AS/C/Rect[]/V/C>>", ""},
      {"no appearance, off", "<</FT/Btn/T(a)/V/C/AS/C/Rect[]>>", "Off", "<</FT/Btn/T(a)/V/Off/AS/Off/Rect[]>>", ""},
      {"radio buttons without appearances", kRadio + "<</AS/C/Rect[]>><</AS/Off/Rect[]>>]>>", "C",
       kRadio + "<</AS/C/Rect[]>><</AS/Off/Rect[]>>]/V/C>>", ""},

      {"one of those with a state", kRadio + "<<" + kOne + ">><<" + kOne + ">>]>>", "A",
       kRadio + "<<" + kOne + "/AS/A>><<" + kOne + "/AS/Off>>]/V/A>>", ""},
      {"the one that was on", kRadio + "<</AS/Off" + kOne + ">><</AS/A" + kOne + ">>]/V/Off>>", "A",
       kRadio + "<</AS/Off" + kOne + ">><</AS/A" + kOne + ">>]/V/A>>", ""},
      {"in unison", "<</FT/Btn/Ff 33587200/T(a)/Kids[<<" + kOne + ">><<" + kOne + ">>]>>", "A",
       "<</FT/Btn/Ff 33587200/T(a)/Kids[<<" + kOne + "/AS/A>><<" + kOne + "/AS/A>>]/V/A>>", ""},
      {"check boxes with a state", "<</FT/Btn/T(a)/Kids[<<" + kOne + ">><<" + kOne + ">>]>>", "A",
       "<</FT/Btn/T(a)/Kids[<<" + kOne + "/AS/A>><<" + kOne + "/AS/A>>]/V/A>>", ""},
  };
  for (const auto& test : cases) {
    ZAcroForm form = FormText().Field(10, test.field).Form();
    const std::string before = ObjectOf(form, 10);
    ZCheckedFiller filler(form);
    EXPECT_EQ(filler.Fill("a", Split(test.values, '|')), *test.fault == 0) << test.name;
    EXPECT_EQ(ObjectOf(form, 10), test.after.empty() ? before : test.after) << test.name;
    EXPECT_EQ(form.Parser()->ModifiedObjects().empty(), test.after.empty()) << test.name;
    const std::string said = filler.Faults().empty() ? "" : filler.Faults()[0].what.ToString();
    EXPECT_TRUE(said.starts_with(test.fault) && said.empty() == (*test.fault == 0)) << test.name << ": " << said;
  }
}

TEST(CheckedFiller, WhatItHoldsAlreadyIsNotWritten) {
  ZAcroForm form = FormText().Field(10, "<</FT/Tx/T(a)/V(1\\n2)/RV(<p>x\\ny</p>)/DV(1\\r2)>>").Form();
  ZXFDF data;
  data.FromChaine(
      "<xfdf><fields><field name='a'><value>1\n2</value><value-richtext><p>x\ny</p></value-richtext></field></fields>"
      "</xfdf>");
  ZCheckedFiller filler(form);
  filler.SetDefaultsToo(true);
  filler.Fill(data);
  EXPECT_EQ(filler.Filled(), 1U);
  EXPECT_TRUE(form.Parser()->ModifiedObjects().empty()) << ObjectOf(form, 10);
}

TEST(CheckedFiller, FieldsOfOneName) {
  ZAcroForm form = FormText()
                       .Field(10, "<</FT/Tx/T(a)/MaxLen 9>>")
                       .Field(11, "<</FT/Tx/T(a)/MaxLen 3>>")
                       .Field(12, "<</FT/Btn/T(b)" + kOne + ">>")
                       .Field(13, "<</FT/Btn/T(b)/AP<</N<</C 9 0 R>>>>/Rect[]/AS/C>>")
                       .Field(14, "<</FT/Sig/T(a)>>")
                       .Form();
  ZCheckedFiller filler(form);
  EXPECT_TRUE(filler.Fill("a", {"new"}));
  EXPECT_FALSE(filler.Fill("a", {"longer"}));
  EXPECT_TRUE(filler.Fill("b", {"A"}));
  EXPECT_EQ(ObjectOf(form, 10), "<</FT/Tx/T(a)/MaxLen 9/V(new)>>");
  EXPECT_EQ(ObjectOf(form, 11), "<</FT/Tx/T(a)/MaxLen 3/V(new)>>");
  EXPECT_EQ(ObjectOf(form, 12), "<</FT/Btn/T(b)" + kOne + "/V/A/AS/A>>");
  EXPECT_EQ(ObjectOf(form, 13), "<</FT/Btn/T(b)/AP<</N<</C 9 0 R>>>>/Rect[]/AS/Off/V/A>>");
  EXPECT_EQ(ObjectOf(form, 14), "<</FT/Sig/T(a)>>");
  EXPECT_TRUE(filler.Unequal().empty());
  EXPECT_FALSE(filler.Fill("nowhere", {"x"}));
  EXPECT_EQ(filler.Faults().size(), 2U);
  filler.SetIgnoresUnknown(true);
  EXPECT_TRUE(filler.Fill("nowhere", {"x"}));
  EXPECT_EQ(filler.Faults().size(), 2U);
}

TEST(CheckedFiller, RichTextAloneGivesThePlainTextAsWell) {
  ZAcroForm form = FormText().Field(10, "<</FT/Tx/T(a)/V(old)>>").Form();
  ZXFDF data;
  data.FromChaine(
      "<xfdf><fields><field name='a'><value-richtext><body>\n<p>A<b>b</b> <i>c</i>&amp;</p>\n<p>d<br/>e</p></body>"
      "</value-richtext></field></fields></xfdf>");
  ZCheckedFiller filler(form);
  filler.Fill(data);
  EXPECT_EQ(form.Fields().Get("a")->ValueUTF8(), "Ab c&\r\nd\r\ne");
  EXPECT_TRUE(form.Fields().Get("a")->HasOwnValueRichText());
}

TEST(CheckedFiller, NamesThatMayHaveBeenMeant) {
  ZAcroForm form = FormText()
                       .Fields(
                           "<</T(member)/Kids[<</FT/Tx/T(name)>><</FT/Tx/T(names)>><</FT/Tx/T(pr\\351nom)>>]>>"
                           "<</FT/Tx/T(Date of birth)>><</T(club)/Kids[<</FT/Tx/T(town)>>]>><</FT/Sig/T(sign)>>")
                       .Form();
  ZCheckedFiller filler(form);
  const std::pair<const char*, const char*> cases[] = {
      {"Member.Name", "; did you mean member.name?"},
      {"name", "; did you mean member.name?"},
      {"member.anme", "; did you mean member.name?"},
      {"person.town", "; did you mean club.town?"},
      {"member.prenom", "; did you mean member.pr\xC3\xA9nom?"},
      {"date_of_birth", "; did you mean Date of birth?"},
      {"member.namex", "; did you mean member.name or member.names?"},
      {"member", ""},
      {"signs", ""},
      {"", ""},
  };
  for (const auto& [name, near] : cases) EXPECT_EQ(filler.NearNamesOf(name), near) << name;
}

}  // namespace
}  // namespace zforms
