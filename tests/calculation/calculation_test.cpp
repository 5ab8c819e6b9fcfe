#include <gtest/gtest.h>

#include "tests/support/form_text.h"
#include "zforms/calculation/field_scripts.h"
#include "zforms/calculation/form_scripts.h"
#include "zforms/calculation/script_call.h"

namespace zforms {
namespace {

// The text that is shown for the value; "?" when the format does not apply to it, "none" for a script that is not a
// format.
std::string Shown(const std::string& script, const std::string& value) {
  const auto call = ParseCall(WithoutComments(script));
  const auto format = call ? ValueFormat::Of(*call) : std::nullopt;
  if (!format) return "none";
  const auto shown = format->Apply(value);
  return !shown ? "?" : shown->text + (shown->is_red ? " red" : "");
}

TEST(Calculation, FormatsShowValues) {
  const struct {
    const char* script;
    const char* value;
    const char* shown;
  } cases[] = {
      {"AFNumber_Format(2, 0, 0, 0, \"\", true);", "1234567.005", "1,234,567.01"},
      {"// a comment\nAFNumber_Format(2, 0, 0, 0, '', true) ;", "-0.5", "-0.50"},
      {"AFNumber_Format(0, 0, 0, 0, '', true)", "2.5", "3"},
      {"AFNumber_Format(0, 0, 0, 0, '', true)", "999.5", "1,000"},
      {"AFNumber_Format(2, 1, 0, 0, '$', true)", "-1234.5", "-$1234.50"},
      {"AFNumber_Format(2, 2, 0, 0, ' \\u20AC', false)", "1234,5", "1.234,50 \xE2\x82\xAC"},
      {"AFNumber_Format(2, 3, 1, 0, ' EUR', false)", "-12345.678", "12345,68 EUR red"},
      {"AFNumber_Format(1, 4, 2, 0, '', false)", "-1234.5", "(1'234.5)"},
      {"AFNumber_Format(1, 0, 3, 0, '$', true)", "-7", "($7.0) red"},
      {"AFNumber_Format(2, 0, 0, 0, '', true)", "1,234", "?"},
      {"AFNumber_Format(2, 0, 0, 0, '', true)", "12 apples", "?"},
      {"AFNumber_Format(2, 0, 0, 0, '', true)", "", ""},
      {"AFNumber_Format(-1, 99, 9, 0, '', true)", "5", "5"},
      {"AFPercent_Format(1, 2)", "-0.1255", "-12,6%"},
      {"AFPercent_Format(0, 0, true)", "0.07", "%7"},
      {"AFDate_FormatEx(\"dd/mm/yyyy\")", "4/3/24", "04/03/2024"},
      {"AFDate_FormatEx('mm/dd/yyyy')", "2024-02-29", "02/29/2024"},
      {"AFDate_FormatEx('mm/dd/yyyy')", "02/30/2024", "?"},
      {"AFDate_FormatEx('dddd, d mmmm yyyy')", "2026-11-22", "Sunday, 22 November 2026"},
      {"AFDate_FormatEx('ddmmyy')", "220349", "220349"},
      {"AFDate_FormatEx('mmm d, yyyy')", "DEC 1, 1950", "Dec 1, 1950"},
      {"AFDate_FormatEx('MMDDYYYY')", "12242024", "none"},
      {"AFDate_FormatEx('')", "1", "none"},
      {"AFDate_Format(10)", "2024-01-09", "Jan 9, 2024"},
      {"AFDate_Format(14)", "2024-01-09", "none"},
      {"AFTime_Format(1)", "15:07", "3:07 pm"},
      {"AFTime_FormatEx('HH:MM:ss')", "9:5:7", "09:05:07"},
      {"AFTime_Format(1)", "12:30 am", "12:30 am"},
      {"AFTime_Format(0)", "24:00", "?"},
      {"AFSpecial_Format(0)", "1234", "?"},
      {"AFSpecial_Format(1)", "123456789", "12345-6789"},
      {"AFSpecial_Format(2)", "555-123-4567", "(555) 123-4567"},
      {"AFSpecial_Format(2)", "5551234", "555-1234"},
      {"AFSpecial_Format(3)", "123 45 6789", "123-45-6789"},
      {"AFSpecial_Format(4)", "1", "none"},
      {"AFNumber_Format(2, 0, 0, 0, '', true); app.alert(1)", "5", "none"},
      {"AFNumber_Format(2, 0, 0, 0, '", "5", "none"},
      {"other(1)", "5", "none"},
      {"", "5", "none"},
  };
  for (const auto& one : cases) EXPECT_EQ(Shown(one.script, one.value), one.shown) << one.script << " " << one.value;
}

TEST(Calculation, FormulasAreEvaluated) {
  const struct {
    const char* script;
    std::vector<std::vector<double>> numbers;
    const char* result;
  } cases[] = {
      {"AFSimple_Calculate(\"SUM\", new Array (\"a\", \"b\"));", {{0.1}, {0.2}}, "0.3"},
      {"AFSimple_Calculate('SUM', 'a, b');", {{1, 2}, {3}}, "6"},
      {"AFSimple_Calculate('PRD', ['a', 'b'])", {{12.5}, {20.1}}, "251.25"},
      {"AFSimple_Calculate('AVG', ['a', 'b'])", {{1}, {0, 1}}, "0.666667"},
      {"AFSimple_Calculate('MIN', ['a', 'b'])", {{1}, {-1}}, "-1"},
      {"AFSimple_Calculate('MAX', ['a', 'b'])", {{1}, {-1}}, "1"},
      {"AFSimple_Calculate('MODE', ['a'])", {{1}}, "none"},
      {"/** BVCALC a + b*2 EVCALC **/ "
       "event.value=AFMakeNumber(getField(\"a\").value)+AFMakeNumber(getField(\"b\").value)*2;",
       {{0.1}, {0.1}},
       "0.3"},
      {"/** BVCALC (Net\\ price - b) / -3 EVCALC **/", {{10}, {1}}, "-3"},
      {"event.value = -AFMakeNumber(this.getField('a').value) - 2 * 3", {{1}}, "-7"},
      {"event.value = AFMakeNumber(getField('a').value) / AFMakeNumber(getField('b').value)", {{1}, {0}}, "infinite"},
      {"event.value = this.getField('a').value / 2", {{1}}, "none"},
      {"event.value = 5", {}, "none"},
      {"event.value = AFMakeNumber(getField('a').value) +", {{1}}, "none"},
  };
  for (const auto& one : cases) {
    const auto formula = FieldFormula::Of(one.script);
    const auto result = formula ? formula->Evaluate(one.numbers) : std::nullopt;
    EXPECT_EQ(!formula ? "none" : !result ? "infinite" : ValueOfNumber(*result), one.result) << one.script;
  }
  // Formulas that are nested too deeply are not read.
  EXPECT_FALSE(FieldFormula::Of("event.value = " + std::string(100000, '(')));
  EXPECT_FALSE(FieldFormula::Of("event.value = " + std::string(100000, '-') + "AFMakeNumber(getField('a').value)"));
}

// Scripts are found in every place that may have them, and each is named once. A cycle of actions is followed once.
TEST(Calculation, ScriptsAreListed) {
  const std::string script = "<</S/JavaScript/JS(own();)/Next 20 0 R>>";
  FormText text;
  text.Field(10, "<</FT/Tx/T(a)/AA<</F<</S/JavaScript/JS 21 0 R>>/E<</S/Named>>>>>>");
  text.Field(11, "<</FT/Tx/T(b)/AA<</C<</S/JavaScript/JS<FEFF0041002800290029>>>>>/A 20 0 R>>");
  text.Object(20, script).Object(21, "<</Length 25>>stream\nAFNumber_Format(2,0,0,0,'')\nendstream");
  text.Object(22, "<</Kids[22 0 R 23 0 R]>>").Object(23, "<</Names[(one) 20 0 R]>>");
  text.Object(24, "<</Type/Pages/Count 1/Kids[25 0 R]>>").Object(25, "<</Type/Page/Parent 24 0 R/AA<</O 20 0 R>>>>");
  text.Catalog("/Pages 24 0 R/Names<</JavaScript 22 0 R>>/OpenAction[20 0 R]");
  std::string all;
  for (const std::string& line : DescribeScripts(ScriptsOf(text.Form()))) all += line + "\n";
  EXPECT_EQ(all,
            "a custom script (open) of the document, the document\n"
            "a custom script (page open) of the document\n"
            "AFNumber_Format (format) of \"a\"\n"
            "a custom script (calculate) of \"b\"\n"
            "a custom script (press) of \"b\"\n");
}

}  // namespace
}  // namespace zforms
