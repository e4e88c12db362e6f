"""The faults mutate.py plants, one at a time.

Each fault replaces `original`, which must occur exactly once in `file`
(relative to the repository), with `replacement`. Every fault compiles with
-Werror and changes what the code does for some input the library or the
tool accepts; `kind` names the sort of slip it stands for.
"""


def fault(id, subsystem, kind, description, file, original, replacement):
    return dict(id=id, subsystem=subsystem, kind=kind, description=description, file=file,
                original=original, replacement=replacement)


FAULTS = [
    # Matrices: CMatrix, IMatrix operators, CMatrix3, CVec3.
    fault("vec3-cross-sign", "matrix", "wrong sign",
          "CVec3::CrossProd: z component negated",
          "src/Numeric/Vec3.cpp",
          "m_c[0] * b.m_c[1] - m_c[1] * b.m_c[0]",
          "m_c[1] * b.m_c[0] - m_c[0] * b.m_c[1]"),

    # Host stand-ins: CString::Arg, value maps, CImage.
    fault("host-arg-placeholder-zero", "host", "off-by-one boundary",
          "CString::Arg: %0 taken for a placeholder",
          "host/zeblib2core/String.cpp",
          "return number >= 1;",
          "return number >= 0;"),

    # The vorn tool.
    fault("vorn-quote-ellipsis", "vorn", "< for <=",
          "Quoted: '...' appended when the text is exactly the limit long",
          "tools/vorn/Quote.cpp",
          "if (text.size() > limit)",
          "if (text.size() >= limit)"),
    fault("vorn-json-tab-escape", "vorn", "wrong message character",
          "JSON strings: a tab escaped as \\T",
          "tools/vorn/Json.cpp",
          r'''case '\t': m_out += "\\t"; break;''',
          r'''case '\t': m_out += "\\T"; break;'''),
]
