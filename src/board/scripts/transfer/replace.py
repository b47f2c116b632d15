import os
try:
 os.rename(%1,%2)
except OSError:
 open(%2,'rb').close()
 os.remove(%2)
 os.rename(%1,%2)
print('__OK__')
