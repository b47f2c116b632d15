import os
os.mkdir(%1)
print('__OK__')
