print('a\x1eb\x1e')
print('c\x1e{"line": "no"}\x1ed')
for i in range(2):
    print('e', i)
print('f\x1e\x1eg')
#! breakpoints 4
#> 4 s  i=0
#> 4 c  i=1
