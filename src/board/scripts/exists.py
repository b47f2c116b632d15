import os
try:
 os.stat(QPATH)
 print('__EXISTS__1')
except:
 print('__EXISTS__0')