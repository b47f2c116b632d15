class Point:
    count = 0

    def __init__(self, x, y=0):
        self.x, self.y = x, y
        Point.count += 1

    def __add__(self, other):
        sum_x = self.x + other.x
        return Point(sum_x, self.y + other.y)

    def __repr__(self): return 'Point(%d, %d)' % (self.x, self.y)

class Named(Point):
    """A point
    with a name."""

    @property
    def label(self):
        return self.name + repr(self)

    @classmethod
    def at(cls, name, *where):
        made = cls(*where)
        made.name = name
        return made

a = Point(1, 2)
b = Named.at('b', 3)
print(a + b, b.label, Point.count, isinstance(b, Point))
#! breakpoints 9 24
#> 24 s  name='b'  where=(3,)
#> 5 s  x=3  y=0
#> 6 s
#> 25 s  made=Point(3, 0)  name='b'
#> 26 c  made=Point(3, 0)
#> 9 s  other=Point(3, 0)
#> 10 s  sum_x=4
#> 5 c  x=4  y=2
