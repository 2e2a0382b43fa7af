// The language's named constants (vbCrLf, vbTextCompare, vbYesNo...), known to every script.

#include "vbscript/interpreter.h"

namespace tess::vbs {

void AddLanguageConstants(std::unordered_map<std::string, Variant>& table) {
    const std::pair<const char*, int> numbers[] = {
        {"vbbinarycompare", 0},
        {"vbtextcompare", 1},
        {"vbempty", 0},
        {"vbnull", 1},
        {"vbinteger", 2},
        {"vblong", 3},
        {"vbsingle", 4},
        {"vbdouble", 5},
        {"vbcurrency", 6},
        {"vbdate", 7},
        {"vbstring", 8},
        {"vbobject", 9},
        {"vberror", 10},
        {"vbboolean", 11},
        {"vbvariant", 12},
        {"vbdataobject", 13},
        {"vbdecimal", 14},
        {"vbbyte", 17},
        {"vbarray", 8192},
        {"vbsunday", 1},
        {"vbmonday", 2},
        {"vbtuesday", 3},
        {"vbwednesday", 4},
        {"vbthursday", 5},
        {"vbfriday", 6},
        {"vbsaturday", 7},
        {"vbusesystemdayofweek", 0},
        {"vbfirstjan1", 1},
        {"vbfirstfourdays", 2},
        {"vbfirstfullweek", 3},
        {"vbgeneraldate", 0},
        {"vblongdate", 1},
        {"vbshortdate", 2},
        {"vblongtime", 3},
        {"vbshorttime", 4},
        {"vbokonly", 0},
        {"vbokcancel", 1},
        {"vbabortretryignore", 2},
        {"vbyesnocancel", 3},
        {"vbyesno", 4},
        {"vbretrycancel", 5},
        {"vbcritical", 16},
        {"vbquestion", 32},
        {"vbexclamation", 48},
        {"vbinformation", 64},
        {"vbdefaultbutton1", 0},
        {"vbdefaultbutton2", 256},
        {"vbdefaultbutton3", 512},
        {"vbdefaultbutton4", 768},
        {"vbapplicationmodal", 0},
        {"vbsystemmodal", 4096},
        {"vbok", 1},
        {"vbcancel", 2},
        {"vbabort", 3},
        {"vbretry", 4},
        {"vbignore", 5},
        {"vbyes", 6},
        {"vbno", 7},
        {"vbusedefault", -2},
        {"vbtrue", -1},
        {"vbfalse", 0},
    };
    for (const auto& [name, value] : numbers)
        table[name] =
            value >= -32768 && value <= 32767 ? Variant::Integer(value) : Variant::Long(value);
    table["vbobjecterror"] = Variant::Long(-2147221504);
    table["vbcr"] = Variant::String("\r");
    table["vblf"] = Variant::String("\n");
    table["vbcrlf"] = Variant::String("\r\n");
    table["vbnewline"] = Variant::String("\r\n");
    table["vbtab"] = Variant::String("\t");
    table["vbformfeed"] = Variant::String("\f");
    table["vbverticaltab"] = Variant::String("\v");
    table["vbnullchar"] = Variant::String(std::string(1, '\0'));
    table["vbnullstring"] = Variant::String("");
}

} // namespace tess::vbs
