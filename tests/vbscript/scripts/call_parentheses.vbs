' A Sub called without Call may not have its argument list in parentheses when it has more
' than one argument: compile error 1044, reported before anything runs.
Sub Show(a, b)
    MsgBox a & b
End Sub
MsgBox "never shown"
Show "a", "b"
Call Show("a", "b")
Show (1, 2)
