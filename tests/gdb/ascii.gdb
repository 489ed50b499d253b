# Shows characters that the terminal may not have.
frame function main
echo @begin\n
print texts.utf8
print texts.utf16be
print texts.third
print texts.malformed
echo @end\n
