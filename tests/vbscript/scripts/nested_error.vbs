' An error inside Ifs nested deeper than one statement loop holds is reported at the
' failing statement itself, not at the If around it.
Function Inner(k)
    If k > 0 Then
        If k > 1 Then
            If k > 2 Then
                If k > 3 Then
                    If k > 4 Then
                        MsgBox "deep"
                          Inner = CInt("x" & k)
                    End If
                End If
            End If
        End If
    End If
End Function
MsgBox "start"
Inner 5
MsgBox "not reached"
