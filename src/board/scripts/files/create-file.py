try:
 open(%1,'rb').close()
except OSError:
 open(%1,'wb').close()
else:
 raise OSError(17)
print('__OK__')
