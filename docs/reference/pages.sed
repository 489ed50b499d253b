# What Doxygen reads in place of a document. A link to the folder of decisions means its page.
s|decisions)|decisions/README.md)|
# That page has the decisions below it.
/^- \[[0-9]*\](/{
    s|.*(\(.*\)\.md).*|\1|
    y|-|_|
    s|^|- @subpage md_docs_decisions_|
}
