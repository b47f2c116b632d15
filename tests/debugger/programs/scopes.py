level = 0

def outer():
    depth = 1
    def inner():
        nonlocal depth
        global level
        depth += 1
        level += depth
        return depth
    return inner() + depth

print(outer(), level)
level = 'text'; other = level * 2
if level: print(other)
x = y = 1; x += 1
print(x, y, level)
#! breakpoints 8
#> 8 s  level=0  !depth
#> 9 s  level=0  depth=2
#> 10 s  level=2  depth=2
#> 14 s  level=2
#> 16 s  level='text'  other='texttext'
#> 17 s  x=2  y=1
