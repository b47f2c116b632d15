%2
import os
try:
 os.listdir(%3)
except (OSError,TypeError):
 pass
else:
 raise OSError(21)
_kf=open(%1,'wb')
_kn=0
print('__OK__')
