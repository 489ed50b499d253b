# Shows what the sample program holds where it stops first.
frame function main
set print pretty on
set print static-members off
echo @begin\n
print texts
print values
print storage
print odd
print channels
print zeros
print noise
print *&texts.reference
set print elements 5
print texts.utf8
print texts.cut
print texts.third
print odd.full
print channels.root
set print elements 200
zel errors
zel channels
print values.span
echo @end\n
