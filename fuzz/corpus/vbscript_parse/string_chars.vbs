' Strings count and index characters, not the bytes of their UTF-8 form: lengths, positions,
' start arguments and counts of the string built-ins; case mapping beyond ASCII; Asc and Chr
' in the Windows-1252 code page, AscW and ChrW in Unicode. Each line shows the value got; a
' line starting "FAIL" names the value expected instead.
Sub Check(label, got, want)
    If got = want Then
        MsgBox label & ": " & got
    Else
        MsgBox "FAIL " & label & ": got " & got & ", want " & want
    End If
End Sub

' Lengths.
Check "Len é", Len("é"), 1
Check "Len naïve café", Len("naïve café"), 10
Check "Len euro", Len(ChrW(&H20AC)), 1
Check "Len built", Len("a" & ChrW(233) & "b"), 3
Check "Len CJK", Len("中文字"), 3
Check "Len type", TypeName(Len("é")) & " " & TypeName(InStr("é", "x")), "Long Long"

' Left, Right and Mid take and give characters.
Check "Left", Left("élan", 2), "él"
Check "Left 0", Left("ü", 0), ""
Check "Left past end", Left("çà", 9), "çà"
Check "Right", Right("garçon", 3), "çon"
Check "Right past end", Right("àb", 5), "àb"
Check "Right ASCII tail", Right("déjà vu", 2), "vu"
Check "Mid", Mid("crème brûlée", 7, 4), "brûl"
Check "Mid to end", Mid("crème", 4), "me"
Check "Mid past end", Mid("é", 2), ""
Check "Mid zero length", Mid("éé", 1, 0), ""

' InStr and InStrRev: start positions and results in characters, binary and text compare.
Check "InStr", InStr("Zürich Zürich", "rich"), 3
Check "InStr start", InStr(4, "Zürich Zürich", "ü"), 9
Check "InStr last", InStr("àéî", "î"), 3
Check "InStr text", InStr(1, "ÀÉÎ", "éî", 1), 2
Check "InStr binary", InStr(1, "ÀÉÎ", "éî", 0), 0
Check "InStr empty needle", InStr(2, "àé", ""), 2
Check "InStr start past end", InStr(4, "àé", ""), 0
Check "InStrRev", InStrRev("ça-ça-ça", "ça"), 7
Check "InStrRev start", InStrRev("ça-ça-ça", "ça", 6), 4
Check "InStrRev text", InStrRev("ÉTÉ", "é", -1, 1), 3
Check "InStrRev start past end", InStrRev("àbc", "c", 5), 0

' Replace: the result begins at the start character; counts and text compare.
Check "Replace", Replace("été", "é", "e"), "ete"
Check "Replace start", Replace("été été", "é", "E", 3), "E EtE"
Check "Replace count text", Replace("ÉtÉ", "é", "e", 1, 1, 1), "etÉ"
Check "Replace count", Replace("aéaéa", "a", "", 1, 2), "ééa"

' StrReverse keeps each character whole; Split and Join keep the bytes.
Check "StrReverse", StrReverse("añb"), "bña"
Check "StrReverse euro", StrReverse("€uro"), "oru€"
Dim parts : parts = Split("α,β,γ", ",")
Check "Split", UBound(parts) & " " & parts(1), "2 β"
Check "Split text", Join(Split("aÉbéc", "é", -1, 1), "|"), "a|b|c"
Check "Join", Join(Split("é-è", "-"), "+"), "é+è"

' Space and String make characters; String takes a text's first character or a code-page
' number modulo 256.
Check "Space", Len(Space(3)), 3
Check "String text", String(3, "é"), "ééé"
Check "String text length", Len(String(3, "ébc")), 3
Check "String number", String(2, 233), "éé"
Check "String euro", String(2, 128), "€€"
Check "String modulo", String(2, 321), "AA"

' Case mapping of accented, Greek and Cyrillic letters; ß has no one-letter capital.
Check "LCase", LCase("ÉCOLE Ÿ"), "école ÿ"
Check "UCase", UCase("çà ÿ ß"), "ÇÀ Ÿ ß"
Check "LCase Greek", LCase("ΑΒΓ"), "αβγ"
Check "UCase Cyrillic", UCase("жизнь"), "ЖИЗНЬ"

' Comparisons: binary compares code points, text compare ignores case.
Check "StrComp text", StrComp("École", "école", 1), 0
Check "StrComp binary", StrComp("École", "école", 0), -1
Check "StrComp binary order", StrComp("é", "f"), 1
Check "equal operator", "é" = "É", False
Dim d : Set d = CreateObject("Scripting.Dictionary")
d.CompareMode = 1
d.Add "Élan", 1
Check "Dictionary text key", d.Exists("élan"), True
Check "Filter text", Join(Filter(Array("Über", "unter", "ÜBEL"), "üb", True, 1), ","), "Über,ÜBEL"

' AscW and ChrW are Unicode; AscW gives an Integer, negative past &H7FFF.
Check "AscW", AscW("é"), 233
Check "ChrW", ChrW(233), "é"
Check "AscW euro", AscW("€"), 8364
Check "ChrW euro", ChrW(8364), "€"
Check "AscW high", AscW(ChrW(40000)), -25536
Check "ChrW negative", AscW(ChrW(-1)), -1
Check "AscW type", TypeName(AscW("é")) & " " & TypeName(Asc("é")), "Integer Integer"

' Asc and Chr use the Windows-1252 code page; a character the page lacks is "?".
Check "Asc euro", Asc("€"), 128
Check "Chr 128", Chr(128), "€"
Check "Asc é", Asc("é"), 233
Check "Chr 233", Chr(233), "é"
Check "Asc OE", Asc("Œ"), 140
Check "Chr 159", Chr(159), "Ÿ"
Check "Asc CJK", Asc("中"), 63
Check "Chr ASCII", Chr(65) & Asc("A"), "A65"
On Error Resume Next
Dim bad : bad = Chr(256)
Check "Chr 256 error", Err.Number, 5
Err.Clear
bad = Asc("")
Check "Asc empty error", Err.Number, 5

' Argument checks come before a Null text gives Null; InStrRev and Replace refuse Null; a
' compare argument other than 0 or 1 is error 5.
Sub Expect(label, code)
    Check label, Err.Number, code
    Err.Clear
End Sub
bad = Mid(Null, -1, -1) : Expect "Mid Null start", 5
bad = Mid("test", 0, Null) : Expect "Mid Null length", 94
bad = Right(Null, -1) : Expect "Right Null count", 5
bad = Right("test", Null) : Expect "Right count Null", 94
Check "Left of Null", IsNull(Left(Null, 2)), True
bad = InStrRev(Null, "a") : Expect "InStrRev Null", 94
bad = Replace("xx", "x", Null) : Expect "Replace Null", 94
bad = InStr(2, "abcd", "abcd", 10) : Expect "InStr compare 10", 5
bad = Split("a-b", "-", -42) : Expect "Split limit", 5
Check "InStr Null text", IsNull(InStr(2, Null, "abcd")), True
On Error GoTo 0

' A character past the Basic Multilingual Plane counts one here (two in Windows' VBScript,
' whose strings are UTF-16).
Check "Len emoji", Len("a😀b"), 3
Check "Mid emoji", Mid("a😀b", 3), "b"
