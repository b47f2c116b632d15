from micropython import const
import asyncio
LIMIT = const(3); _PRIVATE = const(4)

def made_in(size):
    area = size * size
    class Square:
        side = size
        corners = side and 4
        def __call__(self, times=LIMIT):
            if (wide := times * self.side) > area: return wide
            return -wide
    return Square()

def again():
    def inner():
        shared = 'not the global one'
        return shared
    global shared
    shared = inner()[:3]
    try:
        raise OSError(5)
    except OSError:
        shared += '!'
        raise

async def fetch(name, *, tries=2):
    for i in range(tries):
        await asyncio.sleep_ms(1)
    async with asyncio.Lock() as held:
        return name, i, held

print(made_in(2)(), made_in(1)(0) , LIMIT + _PRIVATE)
try:
    again()
except OSError as e: print(e, shared)
print(asyncio.run(fetch('a')))
first, *rest = [1, 2, 3]; print(rest, 1 < first + 1 <= 2, *rest, sep='-')
for x in range(2): pass
else: print(u'end \u00e9', b'\x00', 0x1F, 1_000, 1.5e-3, end='\n\n')
assert rest, 'rest'
#! breakpoints 9 25
#> 9 c  size=2  area=4
#> 9 c  size=1
#> 25 c  shared='not!'
