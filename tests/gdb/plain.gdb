# Shows what can be seen without any debug information.
echo @begin\n
zel errors
zel channels
continue
zel channels
echo @end\n
