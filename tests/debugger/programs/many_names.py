def many(self_made, a: int = 1, *args, key=(1, 2), **kw):
    b = a; lost = 1
    c = d = b
    e, f = 1, 2
    (g, h) = 3, 4
    box = [0]
    box[0] = e
    for i in range(1):
        with open('/many', 'w') as out:
            out.write('x')
    text = 'keep as is, or change'
    del b
    return locals

print(many(0, 1, 2, key=3, more=4) is locals)
_hidden = 1
shown = many
import os
os.remove('/many')
#! breakpoints 13 16
#> 13 c  self_made=0  a=1  args=(2,)  key=3  kw={'more': 4}  c=1  e=1  f=2  i=0  box=[1]  text='keep as is, or change'  !lost  !d  !g
#> 16 s
#> 17 s  !_hidden
#> 18 s  !shown  !many
#> 19 s  !os
